// A grid of cells that becomes one HTML table.
//
// Cells are written at a cursor that moves to the right, or at fixed positions; nothing is written into the
// page before `GetHTML`. Rows and columns count from 1 in all public operations. Data and attributes are
// never encoded: callers pass what is to stand in the page.
#pragma once

#include <memory>

#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Contracts.h"
#include "varnel/page/Style.h"
#include "varnel/table/TableCells.h"
#include "varnel/table/TableTypes.h"

namespace varnel {

// ProgID "Varnel.Table". Tables come from Page.Table(): one that no page has initialised raises 9 at its
// first cell.
class Table : public Object, public ITable {
 public:
  const ClassInfo& Class() const override;
  void LetGo() noexcept override;

  // Binds the table to its page, takes a copy of the current style, and makes it an empty property table.
  void InitFromPage(const std::shared_ptr<Page>& iPage) override;

  // The types change this table's style once, here. They don't undo one another: their order counts.
  void SetTableTypePlain();     // no border, no colours
  void SetTableTypeWizard();    // no border, no cell spacing
  void SetTableTypeProperty();  // as configured
  void SetTableTypeTitle();     // all cells in the title's colours and border

  // Moves the cursor `iNum` columns; the cells passed stay free.
  void SkipCell(Integer iNum);

  // Writes a cell at the cursor, or at the next free one of the row, and moves behind it. `iData` is text, a
  // table or a grid; any other object stands for its value, and Null for "&nbsp;". Uses up what the
  // SetNextCell operations have set. Raises -1 where the cell's span meets a cell that is taken, 9
  // outside the table, and 7 where rows times columns would be more than 4,000,000; the positions passed by
  // then stay covered, and the next cell's settings stay.
  void Cell(const Variant& iData);
  // The same at a position; the cursor stays. A row or column of -1 is the cursor's. Raises 9 below 1.
  void CellAt(Integer iRow, Integer iCol, const Variant& iData);
  // The same in the heading's font and colours.
  void HeaderCell(const Variant& iData);
  void HeaderCellAt(Integer iRow, Integer iCol, const Variant& iData);
  // The same in the title's, left and top aligned if nothing else is set.
  void TitleCell(const Variant& iData);
  // A row of its own with a table of type Title in it.
  void Title(const Variant& iData);

  // The old way out: the script writes the contents of a cell itself, between these two. The first `Begin`
  // puts the table into direct mode for good: what is there is written into the response, each further piece
  // as it comes, and `GetHTML` only closes the table. In direct mode a cell with a span of 2 or more writes
  // nothing, nor does it begin a row at column 1 if it spans columns; `End` closes by the look of the
  // position behind the cell, in any mode; a row that `NewRow` didn't end stays open.
  void Deprecated_TableCellBegin();
  void Deprecated_TableCellEnd();

  // To the start of the next row. Does nothing where the cursor is at the start of one.
  void NewRow();

  void SetTableBgImage(const String& iBgImage);
  void SetTableHeight(const String& iHeight);  // as it shall stand in the tag
  void SetTableWidth(Integer iWidth);          // percent; 0 for no width
  // Adds 1 to the size of the title's font. Raises 13 where that size is no number.
  void IncreaseTitleFontSize();

  // Settings of the next cell that is written; kept as they are, whatever the value.
  void SetNextCellColSpan(Integer iColSpan);  // -1: to the last column
  void SetNextCellRowSpan(Integer iRowSpan);  // -1: to the last row
  void SetNextCellBgImage(const String& iBgImage);
  void SetNextCellBgColor(const String& iBgColor);
  void SetNextCellAlign(Integer iAlign);    // AlignType
  void SetNextCellVAlign(Integer iVAlign);  // VAlignType
  void SetNextCellNoWrap();
  void SetNextCellHeight(Integer iCellHeight);  // above 0 percent, below 0 pixels

  // Settings of all cells of a column that have none of their own. Raise 9 below 1.
  void SetColWidth(Integer iCol, Integer iWidth);    // percent; below 1 for none
  void SetColAlign(Integer iCol, Integer iAlign);    // AlignType
  void SetColVAlign(Integer iCol, Integer iVAlign);  // VAlignType

  // Whether cells grow over free positions at their right and below; they do unless this turns it off.
  void SetAutoCellExtending(bool iAutoCellExtending);
  // Whether the first, third, fifth row take the second row colour.
  void SetAlternateColor(bool& i_bAlternateColor);
  // Writes a cell at the cursor in the row's font and colour, never in the second row colour.
  void HeaderCellInNormalCell(const Variant& iData);

  // The finished HTML; can be asked for again. Raises 13 for a grid inside a cell, what a nested table
  // raises, and 7 for a table inside itself, for more than kMostNestedTables tables inside each other, and
  // for more than kMostCharacters.
  String GetHTML() override { return GetNestedHTML(0); }
  String GetNestedHTML(int iDepth) override;

  // Browsers draw fewer, and the stack of a page that is at the end of its own bears them.
  static constexpr int kMostNestedTables = 100;
  static constexpr std::size_t kMostCharacters = 64 * 1024 * 1024;

  // The model as it stands; positions count from 0.
  const TableCells& Cells() const { return m_aCells; }
  const TableColumns& Columns() const { return m_aColumns; }
  const TableStyle& Style() const { return m_Style; }
  TableType Type() const { return m_eTableType; }
  CellPosition LastUsed() const { return {m_iLastRow, m_iLastCol}; }  // -1 and -1: none
  CellPosition Cursor() const { return {m_iCurRow, m_iCurCol}; }      // counts from 1

 private:
  // Filling (TableFilling.cpp)
  void PlaceCell(const Variant& iData, Integer iFlags);
  void StoreCell(Integer iRow, Integer iCol, const Variant& iData, Integer iFlags);
  void PassTakenCells();
  void GrowCells(int iRow, int iCol);
  void ClaimRange(const CellRange& iRange, const Variant& iData);
  void WriteCell(CellPosition iPosition, Variant iData, Integer iFlags);
  void RaiseLastUsed(CellPosition iPosition);
  void ResetNextCell();
  TableColumn& ColumnToSet(Integer iCol);

  // Direct mode (TableDirectMode.cpp)
  void EnterDirectMode();
  void WriteDirect(StringView iName, const String& iText);
  void WriteCellDirect(CellPosition iPosition);
  void EndRowDirect();

  // Auto extension (TableExtension.cpp)
  void ExtendCells();
  void ExtendColSpans();
  void ExtendRowSpans();
  void ExtendToTheRight(CellPosition iPosition);
  void ExtendDown(CellPosition iPosition);
  int FirstTakenCol(int iRow, int iCol, int iLimit) const;
  int FirstTakenRow(int iRow, int iCol, int iLimit) const;

  // Rendering (TableRendering.cpp)
  struct CellLook;
  struct LastTag;
  bool NeedsBorderTable() const;
  String BuildTableOpen(bool iBorderTable) const;
  void AppendRows(String& ioHTML, int iDepth) const;
  void AppendRow(String& ioHTML, int iRow, int iDepth, LastTag& ioTag) const;
  void AppendCell(String& ioHTML, int iRow, int iCol, int iDepth, LastTag& ioTag) const;
  void AppendSingleCell(String& ioHTML, CellPosition iPosition) const;
  void AppendCellOpen(String& ioHTML, const CellLook& iLook) const;
  void AppendCellClose(String& ioHTML, const TableCell& iCell) const;
  CellLook ChooseLook(int iRow, int iCol, const TableCell& iCell, const TableColumn& iColumn) const;
  const FontInfo& ChooseFont(const TableCell& iCell) const;
  const String& ChooseBackground(int iRow, const TableCell& iCell) const;

  std::shared_ptr<Page> m_Page;
  std::shared_ptr<host::IObjectContext> m_ObjectContext;
  std::shared_ptr<host::IApplication> m_Application;
  std::shared_ptr<host::IResponse> m_Response;
  TableType m_eTableType = TableTypeProperty;
  TableStyle m_Style;
  Integer m_iTableWidth = 100;
  bool m_bAutoCellExtending = true;
  TableCells m_aCells;
  Integer m_iLastRow = -1;
  Integer m_iLastCol = -1;
  TableColumns m_aColumns;
  String m_sBgImage;
  String m_sHeight;
  Integer m_iNextFlags = 0;
  Integer m_iNextColSpan = 1;
  Integer m_iNextRowSpan = 1;
  Integer m_iNextAlign = AlignDefault;
  Integer m_iNextVAlign = VAlignDefault;
  Integer m_iNextHeight = 0;
  String m_sNextBgImage;
  String m_sNextBgColor;
  Integer m_iCurCol = 1;
  Integer m_iCurRow = 1;
  bool m_bDirectMode = false;  // the script writes cells itself: GetHTML only closes the table then
  bool m_bAlternateColor = false;
  bool m_bRendering = false;
};

// A new table, as the class factory makes it; a page must initialise it.
ObjectPtr MakeTable();

}  // namespace varnel
