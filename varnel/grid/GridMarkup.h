// The HTML of the grid's controls, as text; nothing here decides what is shown.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// An image with its text and address.
struct GridImage {
  String text;
  String address;
};

// A sort image in a column head that is a link. The tag holds a lone quotation mark and the title twice:
// pages and style sheets in use were made for it as it is.
String LinkSortControl(const String& iUrl, const GridImage& iImage);

// A sort image, or a button, that posts `iState` under `iName`. The state stands as it is given.
String FormControl(const String& iName, const String& iState, const GridImage& iImage);

// A button of the navigation bar that leads nowhere, and one that is a link.
String InactiveButton(const GridImage& iImage);
String LinkButton(const String& iUrl, const GridImage& iImage);

// A page number or label that submits the form `iFormName`; `iPage` keeps its sign in name and script.
String FormPageLink(const String& iFormName, const String& iName, bool iCurrent, const String& iPage,
                    const String& iLabel);

// A page number or label that is a link. An empty label shows the page number without its sign; the current
// page is bold text, whatever the label.
String UrlPageLink(bool iCurrent, const String& iUrl, const String& iPage, const String& iLabel);

// The hidden fields of the page jump of `iName`.
String PageJumpHiddenFields(const String& iName, const String& iPrevState, const String& iNextState);

// Quotation marks become &quot;.
String QuotedForAttribute(const String& iText);

}  // namespace varnel
