// How cells get into a table: at the cursor, at a position, as a title.
#include <algorithm>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/page/Page.h"
#include "varnel/page/Utillities.h"
#include "varnel/table/Table.h"

namespace varnel {

namespace {

// Counters are 16 bit wide and wrap.
Integer Wrapped(int iValue) { return static_cast<Integer>(iValue); }

// What a cell keeps of its data: a table or a grid as it is, all else as text. Any other object stands for
// its value, so that a recordset's field can be passed as it is.
Variant CellData(const Variant& iData) {
  if (iData.IsText()) return iData;
  if (iData.IsObject() && (Util_CastTable(iData) != nullptr || Util_CastDGrid(iData) != nullptr))
    return iData;
  const Variant value = ToPlain(iData);
  if (value.IsNull()) return u"&nbsp;";
  return ToText(value);
}

[[noreturn]] void RaiseTaken(CellPosition iPosition, const Variant& iData) {
  Util_Raise(-1, u"Varnel.Table",
             u"Trying to overwrite data at row " + DecimalText(iPosition.row + 1) + u" colunmn " +
                 DecimalText(iPosition.col + 1) + u". Data: " + ToText(iData),
             u"", 0);
}

}  // namespace

void Table::Cell(const Variant& iData) { PlaceCell(iData, 0); }

void Table::HeaderCell(const Variant& iData) { PlaceCell(iData, CellHeader); }

void Table::HeaderCellInNormalCell(const Variant& iData) { PlaceCell(iData, CellHeaderInNormal); }

void Table::TitleCell(const Variant& iData) {
  if (m_iNextAlign == AlignDefault) m_iNextAlign = AlignLeft;
  if (m_iNextVAlign == VAlignDefault) m_iNextVAlign = VAlignTop;
  PlaceCell(iData, CellTitle);
}

void Table::CellAt(Integer iRow, Integer iCol, const Variant& iData) { StoreCell(iRow, iCol, iData, 0); }

void Table::HeaderCellAt(Integer iRow, Integer iCol, const Variant& iData) {
  StoreCell(iRow, iCol, iData, CellHeader);
}

void Table::Title(const Variant& iData) {
  if (m_Page == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  const auto sub = CastObject<Table>(m_Page->Table());
  if (sub == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
  sub->SetTableTypeTitle();
  if (m_eTableType == TableTypeWizard) sub->IncreaseTitleFontSize();
  // The image isn't used up here: the cell around the title gets it too.
  sub->SetNextCellBgImage(m_sNextBgImage);
  sub->TitleCell(iData);
  NewRow();
  SetNextCellColSpan(kSpanToEnd);
  SetNextCellAlign(AlignLeft);
  HeaderCellInNormalCell(sub);
  NewRow();
}

void Table::SkipCell(Integer iNum) { m_iCurCol = Wrapped(m_iCurCol + iNum); }

void Table::NewRow() {
  if (m_iCurCol <= 1) return;
  m_iCurRow = Wrapped(m_iCurRow + 1);
  m_iCurCol = 1;
  if (m_bDirectMode) EndRowDirect();
}

void Table::PlaceCell(const Variant& iData, Integer iFlags) {
  const Integer colSpan = m_iNextColSpan;
  PassTakenCells();
  StoreCell(m_iCurRow, m_iCurCol, iData, iFlags);
  if (colSpan == kSpanToEnd) {
    m_iCurCol = Wrapped(m_iCurCol + 1);
    NewRow();
  } else {
    m_iCurCol = Wrapped(m_iCurCol + colSpan);
  }
}

void Table::PassTakenCells() {
  while (m_aCells.Contains(m_iCurRow - 1, m_iCurCol - 1) &&
         m_aCells.At(m_iCurRow - 1, m_iCurCol - 1).Flags != 0) {
    m_iCurCol = Wrapped(m_iCurCol + 1);
  }
}

void Table::StoreCell(Integer iRow, Integer iCol, const Variant& iData, Integer iFlags) {
  const CellPosition top{(iRow == -1 ? m_iCurRow : iRow) - 1, (iCol == -1 ? m_iCurCol : iCol) - 1};
  const int rows = m_iNextRowSpan == kSpanToEnd ? 1 : m_iNextRowSpan;
  const int cols = m_iNextColSpan == kSpanToEnd ? 1 : m_iNextColSpan;
  CellRange range{top.row, top.col, Wrapped(top.row + rows - 1), Wrapped(top.col + cols - 1)};
  if (range.lastRow > m_aCells.RowBound() || range.lastCol > m_aCells.ColBound()) {
    GrowCells(range.lastRow, range.lastCol);
  }
  // A span to the end reaches as far as the table could be filled now, not as far as it is.
  if (m_iNextRowSpan == kSpanToEnd) range.lastRow = m_aCells.RowBound();
  if (m_iNextColSpan == kSpanToEnd) range.lastCol = m_aCells.ColBound();
  ClaimRange(range, iData);
  WriteCell(top, CellData(iData), iFlags);
  const CellPosition last{m_iNextRowSpan >= 2 ? range.lastRow : top.row,
                          m_iNextColSpan >= 2 ? range.lastCol : top.col};
  RaiseLastUsed(last);
  ResetNextCell();
  if (m_bDirectMode) WriteCellDirect(last);
}

void Table::GrowCells(int iRow, int iCol) {
  m_aColumns.Ensure(iCol);
  m_aCells.Grow(iRow, iCol);
}

void Table::ClaimRange(const CellRange& iRange, const Variant& iData) {
  for (int row = iRange.firstRow; row <= iRange.lastRow; ++row) {
    for (int col = iRange.firstCol; col <= iRange.lastCol; ++col) {
      TableCell& cell = m_aCells.At(row, col);
      if (cell.Flags != 0) RaiseTaken({row, col}, iData);
      cell.Flags = CellCovered;
    }
  }
}

void Table::WriteCell(CellPosition iPosition, Variant iData, Integer iFlags) {
  TableCell& cell = m_aCells.At(iPosition.row, iPosition.col);
  cell.Flags = static_cast<Integer>(iFlags | m_iNextFlags | CellHasData);
  cell.Data = std::move(iData);
  cell.ColSpan = m_iNextColSpan;
  cell.RowSpan = m_iNextRowSpan;
  cell.Align = m_iNextAlign + kAlignOffset;
  cell.VAlign = m_iNextVAlign + kAlignOffset;
  cell.Height = m_iNextHeight;
  if (!m_sNextBgImage.empty() || !m_sNextBgColor.empty())
    cell.Background = std::make_unique<CellBackground>(CellBackground{m_sNextBgImage, m_sNextBgColor});
  if (m_iNextRowSpan == kSpanToEnd || m_iNextColSpan == kSpanToEnd) m_aCells.AddOpenSpan(iPosition);
}

void Table::RaiseLastUsed(CellPosition iPosition) {
  m_iLastRow = std::max(m_iLastRow, Wrapped(iPosition.row));
  m_iLastCol = std::max(m_iLastCol, Wrapped(iPosition.col));
}

void Table::ResetNextCell() {
  m_iNextFlags = 0;
  m_iNextColSpan = 1;
  m_iNextRowSpan = 1;
  m_iNextAlign = AlignDefault;
  m_iNextVAlign = VAlignDefault;
  m_iNextHeight = 0;
  m_sNextBgImage.clear();
  m_sNextBgColor.clear();
}

}  // namespace varnel
