#include "varnel/page/Style.h"

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel {

namespace {

thread_local bool m_bEndUserStyle = false;

String TextOf(host::IApplication& iApplication, const String& iKey) {
  return ToText(iApplication.Value(iKey));
}

Integer NumberOf(host::IApplication& iApplication, const String& iKey) {
  return StyleToInteger(TextOf(iApplication, iKey));
}

bool IsBold(const FontInfo& iFont) { return EqualsNoCase(iFont.Weight, u"Bold"); }

}  // namespace

void SetEndUserMode() { m_bEndUserStyle = true; }
void ClearEndUserMode() { m_bEndUserStyle = false; }
bool IsEndUserMode() { return m_bEndUserStyle; }

TableStyle LoadTableStyle(host::IApplication& iApplication) {
  const bool endUser = IsEndUserMode();
  const String prefix = endUser ? u"EndUserTable" : u"Table";
  TableStyle style;
  style.BorderWidth = NumberOf(iApplication, prefix + u"BorderWidth");
  // The background goes through the conversion for numbers, which is why a colour is kept as "0".
  if (!endUser) style.BgColor = DecimalText(NumberOf(iApplication, prefix + u"BgColor"));
  style.CellPadding = NumberOf(iApplication, prefix + u"CellPadding");
  style.CellSpacing = NumberOf(iApplication, prefix + u"CellSpacing");
  style.TitleFont = LoadFont(iApplication, prefix + u"TitleFont");
  style.TitleBgColor = TextOf(iApplication, prefix + u"TitleBgColor");
  style.TitleBorderWidth = NumberOf(iApplication, prefix + u"TitleBorderWidth");
  style.HeadingFont = LoadFont(iApplication, prefix + u"HeadingFont");
  style.HeadingBgColor = TextOf(iApplication, prefix + u"HeadingBgColor");
  style.RowFont = LoadFont(iApplication, prefix + u"RowFont");
  style.RowBgColor = TextOf(iApplication, prefix + u"RowBgColor");
  style.RowBgColor2 = TextOf(iApplication, prefix + u"RowBgColor2");
  style.RowBorderColor = TextOf(iApplication, prefix + u"RowBorderColor");
  return style;
}

GridStyle LoadGridStyle(host::IApplication& iApplication) {
  struct Image {
    String GridStyle::*field;
    const char16_t* key;
    const char16_t* defaultFile;
  };
  static constexpr Image kImages[] = {
      {&GridStyle::BtnNavBarFirst, u"BtnNavBarFirst", u"BtnNavBarNavyFirst.gif"},
      {&GridStyle::BtnNavBarPrev, u"BtnNavBarPrev", u"BtnNavBarNavyPrev.gif"},
      {&GridStyle::BtnNavBarNext, u"BtnNavBarNext", u"BtnNavBarNavyNext.gif"},
      {&GridStyle::BtnNavBarLast, u"BtnNavBarLast", u"BtnNavBarNavyLast.gif"},
      {&GridStyle::BtnNavBarFirstOff, u"BtnNavBarFirstOff", u"BtnNavBarNavyFirstOff.gif"},
      {&GridStyle::BtnNavBarPrevOff, u"BtnNavBarPrevOff", u"BtnNavBarNavyPrevOff.gif"},
      {&GridStyle::BtnNavBarNextOff, u"BtnNavBarNextOff", u"BtnNavBarNavyNextOff.gif"},
      {&GridStyle::BtnNavBarLastOff, u"BtnNavBarLastOff", u"BtnNavBarNavyLastOff.gif"},
      {&GridStyle::BtnSort, u"BtnSort", u"Sort.gif"},
      {&GridStyle::BtnSortedUp, u"BtnSortedUp", u"SortedUp.gif"},
      {&GridStyle::BtnSortedDn, u"BtnSortedDn", u"SortedDn.gif"},
  };
  GridStyle style;
  for (const Image& image : kImages) style.*image.field = TextOf(iApplication, image.key);
  for (const Image& image : kImages) {
    if ((style.*image.field).empty()) style.*image.field = image.defaultFile;
  }
  return style;
}

FontInfo LoadFont(host::IApplication& iApplication, const String& iKey) {
  FontInfo font;
  font.Face = TextOf(iApplication, iKey);
  font.Weight = TextOf(iApplication, iKey + u"Weight");
  font.Size = TextOf(iApplication, iKey + u"Size");
  font.Color = TextOf(iApplication, iKey + u"Color");
  return font;
}

Integer StyleToInteger(const String& iValue) {
  if (Trim(iValue).empty()) return -1;
  try {
    return ToInteger(iValue);
  } catch (const Error&) {
    return 0;
  }
}

void AppendStyleAttr(String& ioText, StringView iName, StringView iValue) {
  if (iValue.empty()) return;
  ioText += u' ';
  ioText += iName;
  ioText += u"=\"";
  ioText += iValue;
  ioText += u'"';
}

String StyleAttr(StringView iName, const String& iValue) {
  String text;
  AppendStyleAttr(text, iName, iValue);
  return text;
}

String StyleIntAttr(StringView iName, Integer iValue) {
  return iValue == -1 ? String() : StyleAttr(iName, DecimalText(iValue));
}

void AppendFontOpenTag(String& ioText, const FontInfo& iFont) {
  if (iFont.Face.empty()) return;
  ioText += u"<font";
  AppendStyleAttr(ioText, u"face", iFont.Face);
  AppendStyleAttr(ioText, u"size", iFont.Size);
  AppendStyleAttr(ioText, u"color", iFont.Color);
  ioText += u'>';
  if (IsBold(iFont)) ioText += u"<b>";
}

String FontOpenTag(const FontInfo& iFont) {
  String tag;
  AppendFontOpenTag(tag, iFont);
  return tag;
}

StringView FontCloseTag(const FontInfo& iFont) {
  if (iFont.Face.empty()) return {};
  return IsBold(iFont) ? u"</b></font>" : u"</font>";
}

}  // namespace varnel
