#include "varnel/page/Style.h"

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel {

namespace {

thread_local bool m_bEndUserStyle = false;

String TextOf(host::IApplication& iApplication, StringView iKey) { return ToText(iApplication.Value(iKey)); }

// Reads keys that begin alike; one text serves them all.
class StyleReader {
 public:
  StyleReader(host::IApplication& iApplication, StringView iPrefix)
      : m_application(iApplication), m_key(iPrefix), m_prefixLength(iPrefix.size()) {}

  String Text(StringView iName, StringView iPart = {}) {
    m_key.resize(m_prefixLength);
    m_key.append(iName).append(iPart);
    return TextOf(m_application, m_key);
  }
  Integer Number(StringView iName) { return StyleToInteger(Text(iName)); }
  FontInfo Font(StringView iName) {
    FontInfo font;
    font.Face = Text(iName);
    font.Weight = Text(iName, u"Weight");
    font.Size = Text(iName, u"Size");
    font.Color = Text(iName, u"Color");
    return font;
  }

 private:
  host::IApplication& m_application;
  String m_key;
  std::size_t m_prefixLength;
};

bool IsBold(const FontInfo& iFont) { return EqualsNoCase(iFont.Weight, u"Bold"); }

}  // namespace

void SetEndUserMode() { m_bEndUserStyle = true; }
void ClearEndUserMode() { m_bEndUserStyle = false; }
bool IsEndUserMode() { return m_bEndUserStyle; }

TableStyle LoadTableStyle(host::IApplication& iApplication) {
  const bool endUser = IsEndUserMode();
  StyleReader reader(iApplication, endUser ? u"EndUserTable" : u"Table");
  TableStyle style;
  style.BorderWidth = reader.Number(u"BorderWidth");
  // The background goes through the conversion for numbers, which is why a colour is kept as "0".
  if (!endUser) style.BgColor = DecimalText(reader.Number(u"BgColor"));
  style.CellPadding = reader.Number(u"CellPadding");
  style.CellSpacing = reader.Number(u"CellSpacing");
  style.TitleFont = reader.Font(u"TitleFont");
  style.TitleBgColor = reader.Text(u"TitleBgColor");
  style.TitleBorderWidth = reader.Number(u"TitleBorderWidth");
  style.HeadingFont = reader.Font(u"HeadingFont");
  style.HeadingBgColor = reader.Text(u"HeadingBgColor");
  style.RowFont = reader.Font(u"RowFont");
  style.RowBgColor = reader.Text(u"RowBgColor");
  style.RowBgColor2 = reader.Text(u"RowBgColor2");
  style.RowBorderColor = reader.Text(u"RowBorderColor");
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
  return StyleReader(iApplication, iKey).Font({});
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
