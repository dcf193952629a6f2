// A recordset and a table joined into a titled, sortable, pageable grid.
#pragma once

#include <memory>
#include <vector>

#include "varnel/automation/Object.h"
#include "varnel/grid/GridMarkup.h"
#include "varnel/host/Intrinsics.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Contracts.h"
#include "varnel/page/Page.h"
#include "varnel/page/Style.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/table/Table.h"

namespace varnel {

// ProgID "Varnel.DGrid"; made and bound by Page.DGrid: one that no page has bound raises 91. The page
// declares columns with `Col`, opens the recordset, gives one value after the other to `Cell`, moves the
// recordset itself, and hands the grid to Page.Add.
//
//   var grid = page.DGrid(rs, "Products");
//   grid.Col("Name", "PRODUCTDESCRIPTION");
//   rs.OpenRS(sql, "PRODUCTID");
//   while (!rs.EOF) { grid.Cell(rs("PRODUCTDESCRIPTION")); rs.MoveNext(); }
//   page.Add(grid);
class DGrid : public Object, public IDGrid {
 public:
  const ClassInfo& Class() const override;
  void LetGo() noexcept override;

  void BindFromPage(const std::shared_ptr<Page>& iPage, const std::shared_ptr<IDRecordset>& iRecordset,
                    const String& iTitle, bool iFormBased, const ObjectPtr& iTable) override;
  String GetFinishedHTML() override;

  // Declares the next column. With `iSortFields` its head sorts; the first such column is the default sort
  // where the recordset has none. Width in percent, 0 for none; alignments as in TableTypes.h. In a
  // form-based grid a pressed head puts its state into the recordset here, so columns are declared before the
  // recordset is opened.
  void Col(const String& iColTitle, const String& iSortFields, Integer iWidth, Integer iAlign,
           Integer iVAlign, Integer iColSpan);
  // Leaves the next cell free.
  void SkipCell();
  // Fills the next cell with text, or with a table. A row ends when as many cells as columns were given.
  void Cell(const Variant& iData);

  // Wants a row of at most `lMaxpagesdisplayed` (and at most `lMaxallowedpages`) page numbers; below 1 wants
  // none. In a form-based grid, `i_sFormName` is the name of the page's form, and a posted page number is
  // taken up here while the recordset is closed.
  void ShowPageJump(Integer& lMaxpagesdisplayed, Integer& lMaxallowedpages, const String& i_sFormName);
  // Wants the row of page numbers of a recordset whose page jump is set up already.
  void ShowPageJumpFromDRecordset(const String& i_sFormName);

  // Rows in two colours. To be called before the first cell.
  void ShowAlternateColors();

  // The state text of the page shown. Raises -2 while the recordset is closed.
  String GetCurrentState();

 private:
  struct ColumnInfo {
    String Title;
    String SortFields;
    Integer ColSpan = 0;
    Integer Align = 0;
  };

  // What was asked for by a click on a page number of a form-based grid.
  struct PageJumpRequest {
    String state;
    Long position = 0;
  };

  void RequireBound() const;
  void EnsureColumnCapacity(Integer iColumn);
  void BeginCell();
  void TakePostedState();
  String GetPostedState(const String& iKey) const;
  String GetSubmittedState() const;
  PageJumpRequest GetPageJumpRequest(const String& iName) const;
  String FormText(const String& iKey) const;

  void WriteGridHead();
  void WriteColumnHead(const String& iName, const ColumnInfo& iColumn);
  String SortControl(const String& iName, const ColumnInfo& iColumn);
  GridImage SortImage(const String& iSortFields);
  String RecordCounter();
  String NavigationBar();
  String NavButton(int iButton, const String& iTarget);
  void WritePageJump();
  String PageNumbers();
  String PageLink(Long iPage, bool iCurrent, const String& iLabel);
  GridImage ImageOf(const String& iFile, const String& iKey);

  std::shared_ptr<Page> m_Page;
  std::shared_ptr<host::IObjectContext> m_ObjectContext;
  std::shared_ptr<host::IApplication> m_Application;
  std::shared_ptr<host::IRequest> m_Request;
  std::shared_ptr<DRecordset> m_Recordset;
  String m_sRecordsetName;
  String m_sTitle;
  std::shared_ptr<Table> m_Table;
  GridStyle m_Style;
  bool m_bFormBased = false;
  std::vector<ColumnInfo> m_aColumns;
  Integer m_iColCount = 0;
  Integer m_iCurrentCol = 0;
  bool m_bStateTaken = false;
  bool m_bDefaultSortSet = false;
  Integer m_iMaxPages = 0;
  bool m_bShowPageJump = false;
  String m_sFormName;
  bool m_bAlternateColors = false;
};

ObjectPtr MakeDGrid();

}  // namespace varnel
