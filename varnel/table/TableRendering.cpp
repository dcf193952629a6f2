// How a table becomes HTML. The double blanks of its tags are part of what pages rely on.
#include <optional>
#include <utility>

#include "varnel/automation/Error.h"
#include "varnel/table/Table.h"

namespace varnel {

namespace {

constexpr std::size_t kTypicalCellLength = 48;
const String kNone;

// A table that holds itself would never end.
class RenderingGuard {
 public:
  explicit RenderingGuard(bool& ioRendering) : m_rendering(ioRendering) {
    if (m_rendering) RaiseRuntimeError(runtime_error::kOutOfMemory, u"a table is nested in itself");
    m_rendering = true;
  }
  ~RenderingGuard() { m_rendering = false; }
  RenderingGuard(const RenderingGuard&) = delete;
  RenderingGuard& operator=(const RenderingGuard&) = delete;

 private:
  bool& m_rendering;
};

// A right-aligned cell doesn't wrap.
StringView AlignText(Long iAlign) {
  switch (iAlign) {
    case AlignLeft:
      return u" align=\"left\"";
    case AlignCenter:
      return u" align=\"center\"";
    case AlignRight:
      return u" nowrap align=\"right\"";
    default:
      return {};
  }
}

StringView VAlignText(Long iVAlign) {
  switch (iVAlign) {
    case VAlignTop:
      return u" valign=\"top\"";
    case VAlignMiddle:
      return u" valign=\"middle\"";
    case VAlignBottom:
      return u" valign=\"bottom\"";
    default:
      return {};
  }
}

void AppendNumberAttr(String& ioHTML, StringView iName, int iValue, StringView iUnit = {}) {
  ioHTML += u' ';
  ioHTML += iName;
  ioHTML += u"=\"";
  AppendDecimal(ioHTML, iValue);
  ioHTML += iUnit;
  ioHTML += u'"';
}

void AppendWidth(String& ioHTML, Integer iWidth) {
  if (iWidth >= 1) AppendNumberAttr(ioHTML, u"width", iWidth, u"%");
}

void AppendHeight(String& ioHTML, Integer iHeight) {
  if (iHeight > 0) AppendNumberAttr(ioHTML, u"height", iHeight, u"%");
  if (iHeight < 0) AppendNumberAttr(ioHTML, u"height", -iHeight);
}

void AppendSpan(String& ioHTML, StringView iName, int iSpan) {
  if (iSpan > 1) AppendNumberAttr(ioHTML, iName, iSpan);
}

// An alignment of the cell, or else that of its column.
Long OwnOrColumn(Long iCell, Long iColumn) {
  return (iCell == AlignDefault + kAlignOffset ? iColumn : iCell) - kAlignOffset;
}

bool IsBlank(const String& iText) { return iText.find_first_not_of(u' ') == String::npos; }

// A few tables that hold each other several times make a text without end.
[[noreturn]] void RaiseTooLong() { RaiseRuntimeError(runtime_error::kOutOfMemory, u"a table is too long"); }

// What stands inside the cell: a nested table or the text, without which browsers draw no cell at all.
void AppendContent(String& ioHTML, const TableCell& iCell, int iDepth) {
  if (ioHTML.size() > Table::kMostCharacters) RaiseTooLong();
  if (iCell.Data.IsObject()) {
    const auto table = CastObject<ITable>(iCell.Data);
    if (table == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
    ioHTML += table->GetNestedHTML(iDepth + 1);
    return;
  }
  const String* text = iCell.Data.As<String>();
  ioHTML += text == nullptr || IsBlank(*text) ? StringView(u"&nbsp;") : StringView(*text);
}

}  // namespace

// All that the tag of a cell says, decided before any of it is written.
struct Table::CellLook {
  const FontInfo* font;
  const String* background;
  const String* image;
  Long align;
  Long valign;
  Integer width;
  Integer height;
  bool noWrap;
  int rowSpan;
  int colSpan;
  bool operator==(const CellLook&) const = default;
};

// Neighbours mostly look alike: the tag of the cell before is put together once.
struct Table::LastTag {
  std::optional<CellLook> look;
  String text;
};

String Table::GetNestedHTML(int iDepth) {
  const RenderingGuard guard(m_bRendering);
  if (iDepth >= kMostNestedTables)
    RaiseRuntimeError(runtime_error::kOutOfMemory, u"too many tables are nested");
  const bool border = NeedsBorderTable();
  String html;
  if (!m_bDirectMode) {
    if (m_bAutoCellExtending) ExtendCells();
    html = BuildTableOpen(border);
    AppendRows(html, iDepth);
  }
  html += kCrLf;
  html += border ? u"</table></td></tr></table>" : u"</table>";
  html += kCrLf;
  html += u"<!--End Varnel.Table Object -->";
  html += kCrLf;
  return html;
}

// A border width that isn't configured asks for the border table too.
bool Table::NeedsBorderTable() const {
  return (!m_Style.RowBorderColor.empty() && m_Style.CellSpacing != 0) || m_Style.BorderWidth != 0;
}

String Table::BuildTableOpen(bool iBorderTable) const {
  String html(kCrLf);
  html += u"<!-- Begin Varnel.Table Object -->\r\n<table ";
  if (m_iTableWidth != 0) {
    AppendNumberAttr(html, u"width", m_iTableWidth, u"%");
    html += u' ';
  }
  if (iBorderTable) {
    html += u" cellspacing=\"0\" cellpadding=\"0\"";
    html += StyleIntAttr(u"border", m_Style.BorderWidth);
    html += u"><tr><td";
    AppendStyleAttr(html, u"bgcolor", m_Style.RowBorderColor);
    html += u">\r\n<table width=\"100%\"";
  }
  html += StyleIntAttr(u"cellspacing", m_Style.CellSpacing);
  html += StyleIntAttr(u"cellpadding", m_Style.CellPadding);
  AppendStyleAttr(html, u"background", m_sBgImage);
  AppendStyleAttr(html, u"height", m_sHeight);
  html += u" border=\"0\" >\r\n";
  return html;
}

void Table::AppendRows(String& ioHTML, int iDepth) const {
  const auto rows = static_cast<std::size_t>(m_iLastRow + 1);
  const auto cols = static_cast<std::size_t>(m_iLastCol + 1);
  ioHTML.reserve(ioHTML.size() + rows * (cols + 1) * kTypicalCellLength);
  LastTag tag;
  for (int row = 0; row <= m_iLastRow; ++row) {
    AppendRow(ioHTML, row, iDepth, tag);
    // A table that is written directly goes on in its last row.
    if (m_bDirectMode && row == m_iLastRow) break;
    ioHTML += u"</tr>";
    ioHTML += kCrLf;
  }
}

void Table::AppendRow(String& ioHTML, int iRow, int iDepth, LastTag& ioTag) const {
  ioHTML += u"<tr>";
  for (int col = 0; col <= m_iLastCol; ++col) {
    if (m_aCells.At(iRow, col).IsHidden()) continue;
    AppendCell(ioHTML, iRow, col, iDepth, ioTag);
    AppendCellClose(ioHTML, m_aCells.At(iRow, col));
  }
}

void Table::AppendCell(String& ioHTML, int iRow, int iCol, int iDepth, LastTag& ioTag) const {
  const TableCell& cell = m_aCells.At(iRow, iCol);
  const CellLook look = ChooseLook(iRow, iCol, cell, m_aColumns.At(iCol));
  if (ioTag.look != look) {
    ioTag.text.clear();
    AppendCellOpen(ioTag.text, look);
    ioTag.look = look;
  }
  ioHTML += ioTag.text;
  AppendContent(ioHTML, cell, iDepth);
}

void Table::AppendSingleCell(String& ioHTML, CellPosition iPosition) const {
  LastTag none;
  AppendCell(ioHTML, iPosition.row, iPosition.col, 0, none);
}

void Table::AppendCellOpen(String& ioHTML, const CellLook& iLook) const {
  ioHTML += u"<td";
  const std::size_t bareLength = ioHTML.size();
  ioHTML += u' ';
  ioHTML += AlignText(iLook.align);
  ioHTML += VAlignText(iLook.valign);
  AppendWidth(ioHTML, iLook.width);
  AppendStyleAttr(ioHTML, u"bgcolor", *iLook.background);
  AppendStyleAttr(ioHTML, u"background", *iLook.image);
  if (iLook.noWrap) ioHTML += u" nowrap";
  AppendHeight(ioHTML, iLook.height);
  AppendSpan(ioHTML, u"rowspan", iLook.rowSpan);
  AppendSpan(ioHTML, u"colspan", iLook.colSpan);
  // Without any attribute the tag has no blank.
  if (ioHTML.size() == bareLength + 1) ioHTML.resize(bareLength);
  ioHTML += u'>';
  AppendFontOpenTag(ioHTML, *iLook.font);
}

void Table::AppendCellClose(String& ioHTML, const TableCell& iCell) const {
  ioHTML += FontCloseTag(ChooseFont(iCell));
  ioHTML += u"</td>";
}

Table::CellLook Table::ChooseLook(int iRow, int iCol, const TableCell& iCell,
                                  const TableColumn& iColumn) const {
  return CellLook{
      .font = &ChooseFont(iCell),
      .background = &ChooseBackground(iRow, iCell),
      .image = iCell.Background == nullptr ? &kNone : &iCell.Background->Image,
      .align = OwnOrColumn(iCell.Align, iColumn.Align),
      .valign = OwnOrColumn(iCell.VAlign, iColumn.VAlign),
      .width = iColumn.Width,
      .height = iCell.Height,
      .noWrap = (iCell.Flags & CellNoWrap) != 0,
      .rowSpan = iCell.RowSpan == kSpanToEnd ? m_iLastRow - iRow + 1 : iCell.RowSpan,
      .colSpan = iCell.ColSpan == kSpanToEnd ? m_iLastCol - iCol + 1 : iCell.ColSpan,
  };
}

const FontInfo& Table::ChooseFont(const TableCell& iCell) const {
  if ((iCell.Flags & CellTitle) != 0) return m_Style.TitleFont;
  if ((iCell.Flags & CellHeader) != 0) return m_Style.HeadingFont;
  return m_Style.RowFont;
}

const String& Table::ChooseBackground(int iRow, const TableCell& iCell) const {
  if (iCell.Background != nullptr && !iCell.Background->Color.empty()) return iCell.Background->Color;
  if ((iCell.Flags & CellTitle) != 0) return m_Style.TitleBgColor;
  if ((iCell.Flags & CellHeader) != 0) return m_Style.HeadingBgColor;
  const bool alternates = m_bAlternateColor && (iCell.Flags & CellHeaderInNormal) == 0;
  return alternates && iRow % 2 == 0 ? m_Style.RowBgColor2 : m_Style.RowBgColor;
}

}  // namespace varnel
