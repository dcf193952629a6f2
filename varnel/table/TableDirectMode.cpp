// The old way out of a table: it is written into the response piece by piece while the page runs. Its limits
// are what old pages were written around, so they stay.
#include "varnel/automation/Error.h"
#include "varnel/table/Table.h"

namespace varnel {

void Table::Deprecated_TableCellBegin() {
  if (!m_bDirectMode) EnterDirectMode();
  // No blank, so that no "&nbsp;" gets into the cell.
  PlaceCell(u"\n", CellDirectBegin);
}

// The cursor has moved on: the tag closes by the look of the position behind the cell.
void Table::Deprecated_TableCellEnd() {
  const TableCell& cell = m_aCells.At(m_iCurRow - 1, m_iCurCol - 1);
  String close;
  if (!cell.IsHidden()) AppendCellClose(close, cell);
  WriteDirect(u"Cell End", close);
}

void Table::EnterDirectMode() {
  m_bDirectMode = true;
  TableCell& first = m_aCells.At(0, 0);
  if (first.ColSpan == kSpanToEnd) first.ColSpan = 2;
  String html = BuildTableOpen(NeedsBorderTable());
  AppendRows(html, 0);
  WriteDirect(u"DirectMode Begin", html);
}

void Table::WriteDirect(StringView iName, const String& iText) {
  if (m_Response == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  String piece(kCrLf);
  piece += u"<!-- DirectMode: ";
  piece += iName;
  piece += u" -->";
  piece += kCrLf;
  piece += iText;
  m_Response->Write(piece);
}

// `iPosition` is the last one of the cell's span: a spanned cell ends at a covered position, where there is
// nothing to write.
void Table::WriteCellDirect(CellPosition iPosition) {
  if (iPosition.col == 0) WriteDirect(u"Row Begin", u"<tr>");
  const TableCell& cell = m_aCells.At(iPosition.row, iPosition.col);
  if (cell.IsHidden()) return;
  String text;
  AppendSingleCell(text, iPosition);
  if ((cell.Flags & CellDirectBegin) != 0) {
    WriteDirect(u"Cell Begin", text);
  } else {
    AppendCellClose(text, cell);
    WriteDirect(u"Cell", text);
  }
}

// What is written needs no memory any more: a streamed table may be long.
void Table::EndRowDirect() {
  WriteDirect(u"Row End", u"</tr>");
  m_aCells.Forget(m_iCurRow - 1);
}

}  // namespace varnel
