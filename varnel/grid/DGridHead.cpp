// What stands above a grid's rows: title, record counter, navigation bar, page numbers, column heads.
#include <array>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/grid/DGrid.h"
#include "varnel/grid/Labels.h"
#include "varnel/host/Platform.h"
#include "varnel/table/TableTypes.h"

namespace varnel {

namespace {

constexpr int kFirstHead = 4;  // the bar's buttons have the numbers before it

// As wide as the widest window of a recordset, which is two wider than the 16-bit number asked for.
constexpr std::int64_t kWidestRow = 32767 + 2;

// What the host asks of posted forms, besides the library's own fields.
String HostsFormFields() {
  const auto context = host::GetObjectContext();
  return context == nullptr ? String() : context->FormFields();
}

std::shared_ptr<Table> NewTitleTable(Page& iPage) {
  auto table = CastObject<Table>(iPage.Table());
  table->SetTableTypeTitle();
  return table;
}

}  // namespace

GridImage DGrid::ImageOf(const String& iFile, const String& iKey) {
  const String text = m_Page->I18N(iKey);
  return {text, m_Page->URL(u"images/" + iFile, u"", u"", u"", u"", u"", u"", u"", u"", u"", u"", u"", u"")};
}

void DGrid::WriteGridHead() {
  const auto title = NewTitleTable(*m_Page);
  if (!m_sTitle.empty()) title->TitleCell(m_sTitle);
  title->SetNextCellNoWrap();
  title->SetNextCellAlign(AlignRight);
  title->TitleCell(RecordCounter());
  title->SetNextCellAlign(AlignRight);
  title->TitleCell(NavigationBar());
  title->SetColWidth(1, 100);

  bool alternate = true;
  if (m_bAlternateColors) m_Table->SetAlternateColor(alternate);
  m_Table->NewRow();
  m_Table->SetNextCellColSpan(-1);
  m_Table->SetNextCellAlign(AlignLeft);
  m_Table->HeaderCellInNormalCell(title);
  m_Table->NewRow();
  if (m_Recordset->GetPageJump() && m_bShowPageJump) WritePageJump();
  for (int i = 0; i < m_iColCount; ++i) {
    WriteColumnHead(m_sRecordsetName + DecimalText(i + kFirstHead), m_aColumns[static_cast<std::size_t>(i)]);
  }
}

void DGrid::WriteColumnHead(const String& iName, const ColumnInfo& iColumn) {
  m_Table->SetNextCellColSpan(iColumn.ColSpan);
  if (iColumn.SortFields.empty()) return m_Table->HeaderCell(iColumn.Title);
  const String control = SortControl(iName, iColumn);
  m_Table->HeaderCell(iColumn.Align == AlignRight ? control + iColumn.Title : iColumn.Title + control);
}

String DGrid::SortControl(const String& iName, const ColumnInfo& iColumn) {
  if (m_bFormBased) {
    const String state = m_Recordset->GetStateSorted(iColumn.SortFields);
    return FormControl(iName, state, SortImage(iColumn.SortFields));
  }
  const String url = m_Recordset->GetUrlSorted(iColumn.SortFields);
  return LinkSortControl(url, SortImage(iColumn.SortFields));
}

GridImage DGrid::SortImage(const String& iSortFields) {
  switch (m_Recordset->GetCurrentSortOrder(iSortFields)) {
    case 0:
      return ImageOf(m_Style.BtnSort, labels::kSort);
    case 1:
      return ImageOf(m_Style.BtnSortedUp, labels::kSortedUp);
    default:
      return ImageOf(m_Style.BtnSortedDn, labels::kSortedDown);
  }
}

String DGrid::RecordCounter() {
  if (!m_Recordset->GetIsRecCountON()) return {};
  const Long total = m_Recordset->GetTotalNumberOfRecords();
  if (total == 0) return m_Page->I18N(labels::kNoRecords);
  String rest = m_Page->I18N(labels::kCounterRest);
  rest =
      Replace(rest, labels::kCurrentRecord, DecimalText(m_Recordset->GetRecordNumberForLastRecordOnPage()));
  rest = Replace(rest, labels::kRecordCount, DecimalText(total));
  const String begin = m_Page->I18N(labels::kCounterBegin);
  return begin + u" " + DecimalText(m_Recordset->GetRecordNumberForFirstRecordOnPage()) + u"-" + rest;
}

String DGrid::NavigationBar() {
  DRecordset& rs = *m_Recordset;
  const std::array<String, 4> targets =
      m_bFormBased
          ? std::array<String, 4>{rs.GetStateFirst(), rs.GetStatePrev(), rs.GetStateNext(), rs.GetStateLast()}
          : std::array<String, 4>{rs.GetUrlFirst(), rs.GetUrlPrev(), rs.GetUrlNext(), rs.GetUrlLast()};
  String bar;
  for (int i = 0; i < 4; ++i) bar += NavButton(i, targets[static_cast<std::size_t>(i)]);
  return m_bFormBased ? bar + HostsFormFields() : bar;
}

// An empty target is a direction that isn't available.
String DGrid::NavButton(int iButton, const String& iTarget) {
  struct Button {
    const char16_t* key;
    String GridStyle::*on;
    String GridStyle::*off;
  };
  static constexpr std::array<Button, 4> kBar{{
      {labels::kFirstPage, &GridStyle::BtnNavBarFirst, &GridStyle::BtnNavBarFirstOff},
      {labels::kPreviousPage, &GridStyle::BtnNavBarPrev, &GridStyle::BtnNavBarPrevOff},
      {labels::kNextPage, &GridStyle::BtnNavBarNext, &GridStyle::BtnNavBarNextOff},
      {labels::kLastPage, &GridStyle::BtnNavBarLast, &GridStyle::BtnNavBarLastOff},
  }};
  const Button& button = kBar[static_cast<std::size_t>(iButton)];
  if (iTarget.empty()) return InactiveButton(ImageOf(m_Style.*button.off, button.key));
  const GridImage image = ImageOf(m_Style.*button.on, button.key);
  if (!m_bFormBased) return LinkButton(iTarget, image);
  return FormControl(m_sRecordsetName + DecimalText(iButton), QuotedForAttribute(iTarget), image);
}

void DGrid::WritePageJump() {
  if (m_Recordset->m_leftPageNumber <= 0 || m_Recordset->m_rightPageNumber <= 0) return;
  const auto numbers = NewTitleTable(*m_Page);
  numbers->NewRow();
  numbers->SetNextCellNoWrap();
  numbers->SetNextCellAlign(AlignRight);
  numbers->SetNextCellAlign(AlignRight);
  numbers->HeaderCell(PageNumbers());
  m_Table->NewRow();
  m_Table->Cell(numbers);
  m_Table->NewRow();
}

String DGrid::PageNumbers() {
  const Long left = m_Recordset->m_leftPageNumber;
  const Long right = m_Recordset->m_rightPageNumber;
  const Long shown = m_Recordset->m_lDisplayPage;
  // The ends travel in the state text, and whoever changes that may ask for millions of numbers.
  if (std::int64_t{right} - left > kWidestRow) {
    m_Recordset->RefuseState(u"too many page numbers");
    RaiseRuntimeError(runtime_error::kOutOfMemory, u"too many page numbers");
  }
  String html;
  if (left != 1) html += PageLink(1 - left, false, u"[&lt;&lt;]");
  // Pages before the one shown are written negative: the sign picks the state to walk from.
  for (std::int64_t i = left; i <= right; ++i) {
    const auto page = static_cast<Long>(i);
    html += PageLink(page < shown ? -page : page, page == shown, u"");
  }
  if (right < m_Recordset->m_lTotalPages) html += PageLink(right + 1, false, u"[&gt;&gt;]");
  if (m_bFormBased) {
    html += PageJumpHiddenFields(m_sRecordsetName + u"_j", m_Recordset->GetStatePrevPage(),
                                 m_Recordset->GetStateNextPage());
  }
  return html;
}

String DGrid::PageLink(Long iPage, bool iCurrent, const String& iLabel) {
  if (m_bFormBased)
    return FormPageLink(m_sFormName, m_sRecordsetName + u"_j", iCurrent, DecimalText(iPage), iLabel);
  Long page = iPage;
  const String url = m_Recordset->GetUrlForPage(page);
  return UrlPageLink(iCurrent, url, DecimalText(iPage), iLabel);
}

}  // namespace varnel
