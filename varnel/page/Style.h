// The look of tables and grids, as the application configures it, and the text builders that turn a value
// into an HTML attribute or a font tag.
#pragma once

#include "varnel/automation/String.h"
#include "varnel/host/Intrinsics.h"

namespace varnel {

struct FontInfo {
  String Face;  // empty: no font tag at all
  String Weight;
  String Size;
  String Color;
  bool operator==(const FontInfo&) const = default;
};

struct TableStyle {
  Integer BorderWidth = 0;  // here and below: -1 means that nothing is configured
  String BgColor;           // kept, and used by no rendering
  Integer CellPadding = 0;
  Integer CellSpacing = 0;
  FontInfo TitleFont;
  String TitleBgColor;
  Integer TitleBorderWidth = 0;
  FontInfo HeadingFont;
  String HeadingBgColor;
  FontInfo RowFont;
  String RowBgColor;
  String RowBgColor2;
  String RowBorderColor;
  bool operator==(const TableStyle&) const = default;
};

// File names of the grid's images.
struct GridStyle {
  String BtnNavBarFirst;
  String BtnNavBarPrev;
  String BtnNavBarNext;
  String BtnNavBarLast;
  String BtnNavBarFirstOff;
  String BtnNavBarPrevOff;
  String BtnNavBarNextOff;
  String BtnNavBarLastOff;
  String BtnSort;
  String BtnSortedUp;
  String BtnSortedDn;
  bool operator==(const GridStyle&) const = default;
};

// The style mode flag of this thread: whether LoadTableStyle reads the keys that begin with "EndUser".
void SetEndUserMode();
void ClearEndUserMode();
bool IsEndUserMode();

// Reads the table keys of the current mode, and the grid's keys with their default file names.
TableStyle LoadTableStyle(host::IApplication& iApplication);
GridStyle LoadGridStyle(host::IApplication& iApplication);

// Reads iKey (the face), iKey & "Weight", iKey & "Size" and iKey & "Color".
FontInfo LoadFont(host::IApplication& iApplication, const String& iKey);

// -1 for an empty or blank text, 0 for one that is no number in range, else the number.
Integer StyleToInteger(const String& iValue);

// ` name="value"`, or nothing where the value is empty, or -1. The value isn't encoded.
String StyleAttr(StringView iName, const String& iValue);
String StyleIntAttr(StringView iName, Integer iValue);

// The same, appended to a text that grows.
void AppendStyleAttr(String& ioText, StringView iName, StringView iValue);

// The tags around a text in that font: empty if the font has no face.
String FontOpenTag(const FontInfo& iFont);
StringView FontCloseTag(const FontInfo& iFont);
void AppendFontOpenTag(String& ioText, const FontInfo& iFont);

}  // namespace varnel
