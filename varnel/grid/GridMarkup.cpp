#include "varnel/grid/GridMarkup.h"

namespace varnel {

namespace {

// Every page number and label is followed by this, the last one too.
const String kGap = u" &nbsp;&nbsp;";

String WithoutSign(const String& iPage) { return iPage.starts_with(u"-") ? iPage.substr(1) : iPage; }

String Shown(const String& iPage, const String& iLabel) {
  return iLabel.empty() ? WithoutSign(iPage) : iLabel;
}

String Image(const GridImage& iImage) {
  return u"<img border=0 hspace=0 vspace=0 alt=\"" + iImage.text + u"\" title=\"" + iImage.text +
         u"\" src=\"" + iImage.address + u"\">";
}

String Hidden(const String& iName, const String& iValue) {
  return u"<input type=\"hidden\" name=\"" + iName + u"\" value=\"" + iValue + u"\">";
}

}  // namespace

String LinkSortControl(const String& iUrl, const GridImage& iImage) {
  return u"<a href=\"" + iUrl + u"\"><img border=0 hspace=0 vspace=0 \" title=\"" + iImage.text +
         u"\" alt=\"" + iImage.text + u"\" title=\"" + iImage.text + u"\" src=\"" + iImage.address +
         u"\"></a>";
}

String FormControl(const String& iName, const String& iState, const GridImage& iImage) {
  return u"<input type=\"image\" border=0 hspace=0 vspace=0 name=\"" + iName + u"\" alt=\"" + iImage.text +
         u"\" title=\"" + iImage.text + u"\" src=\"" + iImage.address + u"\">" + Hidden(iName + u"d", iState);
}

String InactiveButton(const GridImage& iImage) { return Image(iImage); }

String LinkButton(const String& iUrl, const GridImage& iImage) {
  return u"<a href=\"" + iUrl + u"\">" + Image(iImage) + u"</a>";
}

String FormPageLink(const String& iFormName, const String& iName, bool iCurrent, const String& iPage,
                    const String& iLabel) {
  if (iCurrent) return u"<B>" + Shown(iPage, iLabel) + u"</B>" + kGap;
  const String form = u"javascript:window.document." + iFormName;
  return u"<A href=\"" + form + u".submit()\" name=\"" + iName + iPage + u"\" onclick=\"" + form + u"." +
         iName + u"v.value=" + iPage + u"\">" + Shown(iPage, iLabel) + u"</A>" + kGap;
}

String UrlPageLink(bool iCurrent, const String& iUrl, const String& iPage, const String& iLabel) {
  if (iCurrent) return u"<B>" + WithoutSign(iPage) + u"</B>" + kGap;
  return u"<A href=\"" + iUrl + u"\">" + Shown(iPage, iLabel) + u"</A>" + kGap;
}

String PageJumpHiddenFields(const String& iName, const String& iPrevState, const String& iNextState) {
  return Hidden(iName + u"p", QuotedForAttribute(iPrevState)) +
         Hidden(iName + u"n", QuotedForAttribute(iNextState)) + u"<input type=\"hidden\" name=\"" + iName +
         u"v\" value=\"\" > ";
}

String QuotedForAttribute(const String& iText) { return Replace(iText, u"\"", u"&quot;"); }

}  // namespace varnel
