// How a table becomes HTML. The double blanks of its tags are part of what pages rely on.
#include <utility>

#include "varnel/automation/Error.h"
#include "varnel/table/Table.h"

namespace varnel {

namespace {

constexpr std::size_t kTypicalCellLength = 48;

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

String PercentText(StringView iName, int iValue) {
  return u" " + String(iName) + u"=\"" + DecimalText(iValue) + u"%\"";
}

String NumberAttrText(StringView iName, int iValue) {
  return u" " + String(iName) + u"=\"" + DecimalText(iValue) + u"\"";
}

String WidthText(Integer iWidth) { return iWidth >= 1 ? PercentText(u"width", iWidth) : String(); }

String HeightText(Integer iHeight) {
  if (iHeight == 0) return {};
  return iHeight > 0 ? PercentText(u"height", iHeight) : NumberAttrText(u"height", -iHeight);
}

String SpanText(StringView iName, int iSpan) { return iSpan > 1 ? NumberAttrText(iName, iSpan) : String(); }

// An alignment of the cell, or else that of its column.
Long OwnOrColumn(Long iCell, Long iColumn) {
  return (iCell == AlignDefault + kAlignOffset ? iColumn : iCell) - kAlignOffset;
}

bool IsBlank(const String& iText) { return iText.find_first_not_of(u' ') == String::npos; }

// What stands inside the cell: a nested table or the text, without which browsers draw no cell at all.
String ContentOf(const TableCell& iCell) {
  if (iCell.Data.IsObject()) {
    const auto table = CastObject<ITable>(iCell.Data);
    if (table == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
    return table->GetHTML();
  }
  const String* text = iCell.Data.As<String>();
  return text == nullptr || IsBlank(*text) ? u"&nbsp;" : *text;
}

}  // namespace

// All that the tag of a cell says, decided before any of it is written.
struct Table::CellLook {
  const FontInfo& font;
  const String& background;
  const String& image;
  Long align;
  Long valign;
  Integer width;
  Integer height;
  bool noWrap;
  int rowSpan;
  int colSpan;
};

String Table::GetHTML() {
  const RenderingGuard guard(m_bRendering);
  const bool border = NeedsBorderTable();
  String html;
  if (!m_bDirectMode) {
    if (m_bAutoCellExtending) ExtendCells();
    html = BuildTableOpen(border);
    AppendRows(html);
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
  const String crlf(kCrLf);
  const String width = m_iTableWidth == 0 ? String() : PercentText(u"width", m_iTableWidth) + u" ";
  const String outer = u"<table " + width;
  const String borderTable =
      u" cellspacing=\"0\" cellpadding=\"0\"" + StyleIntAttr(u"border", m_Style.BorderWidth) + u"><tr><td" +
      StyleAttr(u"bgcolor", m_Style.RowBorderColor) + u">" + crlf + u"<table width=\"100%\"";
  return crlf + u"<!-- Begin Varnel.Table Object -->" + crlf + outer +
         (iBorderTable ? borderTable : String()) + StyleIntAttr(u"cellspacing", m_Style.CellSpacing) +
         StyleIntAttr(u"cellpadding", m_Style.CellPadding) + StyleAttr(u"background", m_sBgImage) +
         StyleAttr(u"height", m_sHeight) + u" border=\"0\" >" + crlf;
}

void Table::AppendRows(String& ioHTML) const {
  const auto rows = static_cast<std::size_t>(m_iLastRow + 1);
  const auto cols = static_cast<std::size_t>(m_iLastCol + 1);
  ioHTML.reserve(ioHTML.size() + rows * (cols + 1) * kTypicalCellLength);
  for (int row = 0; row <= m_iLastRow; ++row) {
    AppendRow(ioHTML, row);
    // A table that is written directly goes on in its last row.
    if (m_bDirectMode && row == m_iLastRow) break;
    ioHTML += u"</tr>";
    ioHTML += kCrLf;
  }
}

void Table::AppendRow(String& ioHTML, int iRow) const {
  ioHTML += u"<tr>";
  for (int col = 0; col <= m_iLastCol; ++col) {
    const TableCell& cell = m_aCells.At(iRow, col);
    const String text = BuildCell(iRow, col, cell, m_aColumns.At(col));
    if (text.empty()) continue;
    ioHTML += text;
    ioHTML += BuildCellClose(cell);
  }
}

String Table::BuildCell(int iRow, int iCol, const TableCell& iCell, const TableColumn& iColumn) const {
  String text = BuildCellOpen(iRow, iCol, iCell, iColumn);
  if (!text.empty()) text += ContentOf(iCell);
  return text;
}

String Table::BuildCellOpen(int iRow, int iCol, const TableCell& iCell, const TableColumn& iColumn) const {
  if (iCell.IsHidden()) return {};
  const CellLook look = ChooseLook(iRow, iCol, iCell, iColumn);
  String tag = u"<td ";
  tag += AlignText(look.align);
  tag += VAlignText(look.valign);
  tag += WidthText(look.width);
  tag += StyleAttr(u"bgcolor", look.background);
  tag += StyleAttr(u"background", look.image);
  if (look.noWrap) tag += u" nowrap";
  tag += HeightText(look.height);
  tag += SpanText(u"rowspan", look.rowSpan);
  tag += SpanText(u"colspan", look.colSpan);
  return Trim(tag) + u">" + FontOpenTag(look.font);
}

String Table::BuildCellClose(const TableCell& iCell) const {
  return iCell.IsHidden() ? String() : FontCloseTag(ChooseFont(iCell)) + u"</td>";
}

Table::CellLook Table::ChooseLook(int iRow, int iCol, const TableCell& iCell,
                                  const TableColumn& iColumn) const {
  return CellLook{
      .font = ChooseFont(iCell),
      .background = ChooseBackground(iRow, iCell),
      .image = iCell.BgImage,
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
  if (!iCell.BgColor.empty()) return iCell.BgColor;
  if ((iCell.Flags & CellTitle) != 0) return m_Style.TitleBgColor;
  if ((iCell.Flags & CellHeader) != 0) return m_Style.HeadingBgColor;
  const bool alternates = m_bAlternateColor && (iCell.Flags & CellHeaderInNormal) == 0;
  return alternates && iRow % 2 == 0 ? m_Style.RowBgColor2 : m_Style.RowBgColor;
}

}  // namespace varnel
