// Opening: the reads of one page, and what is made of their rows.
#include <cstdlib>

#include "varnel/page/Utillities.h"
#include "varnel/recordset/AdoReading.h"
#include "varnel/recordset/Arithmetic.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/recordset/UnionBranches.h"

namespace varnel {

void DRecordset::OpenRS(const String& iQuery, const String& iPrimaryKeyFields) {
  RequireClosed(u"OpenRS");
  const String keyList = Trim(iPrimaryKeyFields);
  if (keyList.empty()) {
    Util_Raise(-2, u"Varnel.DRecordset", u"OpenRS: No key field(s) specified.", u"", 0);
  }
  std::vector<String> branches = SplitUnionBranches(iQuery);
  if (m_State.NavType == nav_type::kNone) {
    AdmitState(branches,
               {});  // a text that names no read is judged too, before the request's takes its place
    TakeStateFromRequest();
  }
  std::vector<SortField> fields = ParseSortFields(m_State, keyList);
  AdmitState(branches, fields);

  if (host::IListWatcher* watcher = host::Platform().ListWatcher()) {
    watcher->Opening({m_sName, iQuery, keyList, m_State.SortFields, m_vDeclaredSorts, m_bRecCount,
                      m_Parameters, m_oConnection});
  }
  const auto recordset = NewRecordset();
  if (m_State.TotalRecords == -1 && m_bRecCount) CountAllBranches(branches, *recordset);
  const bool wasShort = ReadPage(branches, fields, *recordset);

  NumberRecords();
  PutRowsInOrder(branches.size() == 1);
  if (m_iLastRow >= 0) LoadRow(0);
  if (m_bPageJump) MovePageNumbers();
  m_Texts = BuildNavigationStates(m_State, PageJustRead(fields));
  m_sBaseUrl = BuildBaseUrl();
  m_bOpen = true;
  if (m_oPage == nullptr && wasShort) m_Texts.m_sStateNext.clear();
}

std::shared_ptr<host::IRecordset> DRecordset::NewRecordset() const {
  auto recordset = host::Platform().CreateRecordset();
  recordset->SetCursorType(host::ado::kOpenForwardOnly);
  recordset->SetCursorLocation(host::ado::kUseServer);
  recordset->SetLockType(host::ado::kLockReadOnly);
  recordset->SetMaxRecords(m_iPageSize);
  recordset->SetCacheSize(m_iPageSize);
  recordset->SetParameters(m_Parameters);
  return recordset;
}

Long DRecordset::GetStoredRecordCount() const {
  return m_State.TotalRecords == 0 ? -1 : m_State.TotalRecords;
}

// The sum knows nothing of rows that a union would remove.
void DRecordset::CountAllBranches(const std::vector<String>& iBranches, host::IRecordset& ioRecordset) {
  Long total = GetStoredRecordCount();
  if (total == -1) {
    total = 0;
    for (const String& branch : iBranches) {
      m_State.TotalRecords = CountRecords(m_oConnection, ioRecordset, branch);
      total = WrapLong(std::int64_t{total} + m_State.TotalRecords);
    }
  }
  m_State.TotalRecords = total;
}

// Reads until the page stands. True if one of the reads brought less, or more, than a page.
bool DRecordset::ReadPage(std::vector<String>& ioBranches, std::vector<SortField>& ioFields,
                          host::IRecordset& ioRecordset) {
  bool wasShort = false;
  bool again = true;
  while (again) {
    const PageTop top = NextTop();
    m_bDoubleTop = false;
    const PageQuery query = BuildRead(ioBranches, m_State, ioFields, top);
    m_bDoubleTop = top.nested;
    LimitLastPage(ioRecordset);
    OpenRead(ioRecordset, query, ioFields);
    m_iLastRow = -1;
    if (!ioRecordset.IsEOF()) TakeRows(ioRecordset);
    ioRecordset.Close();

    const PageRead read{m_iPageSize, m_iLastRow};
    wasShort = wasShort || read.IsShort();
    again = MendRead(read, m_oPage != nullptr, m_State, ioFields, m_lDisplayPage);
    if (again) m_vRows = host::RowBlock();
  }
  return wasShort;
}

// A jump of more, or less, than one page takes all rows of the way, and of those the last page.
PageTop DRecordset::NextTop() const {
  PageTop top{m_iPageSize};
  if (!m_bPageJump || !m_bPageState || !m_State.HasKeys()) return top;
  const Long way = WrapLong(std::int64_t{m_State.DisplayPage} - m_lDisplayPage);
  const std::int64_t distance = std::abs(std::int64_t{way});
  if (distance == 1) return top;
  top.nested = true;
  top.rows = WrapLong(distance * m_iPageSize);
  if (top.rows < 0) RefuseState(u"an overflowing distance of pages");
  return top;
}

// The last page holds the rest of the division, so that the pages stay aligned with the first one.
void DRecordset::LimitLastPage(host::IRecordset& ioRecordset) const {
  if (m_State.NavType != nav_type::kLast || m_State.TotalRecords == -1) return;
  const Long rest = RestOf(m_State.TotalRecords, m_iPageSize);
  if (rest == 0) return;
  ioRecordset.SetMaxRecords(rest);
  ioRecordset.SetCacheSize(rest);
}

void DRecordset::TakeRows(host::IRecordset& ioRecordset) {
  if (m_oFields == nullptr) MakeFields(ioRecordset);
  m_vRows = ReadAllRows(m_oConnection, ioRecordset);
  m_iLastRow = WrapInteger(static_cast<std::int64_t>(m_vRows.Rows()) - 1);
}

void DRecordset::MakeFields(const host::IRecordset& iRecordset) {
  auto collection = std::make_shared<Collection>();
  m_vFields.clear();
  const Long count = iRecordset.FieldCount();
  for (Long position = 0; position < count; ++position) {
    const auto field = std::make_shared<DField>();
    field->Name = iRecordset.FieldName(position);
    field->Hidden_Data_Index_ = WrapInteger(position);
    field->Type_ = iRecordset.FieldType(position);
    AddFieldToCollection(*collection, field, field->Name);
    m_vFields.push_back(field);
  }
  m_oFields = std::make_shared<DFields>();
  m_oFields->Initialize(collection);
}

// A last page counts back from the total; any other raises a total that is too low.
void DRecordset::NumberRecords() {
  if (m_State.NavType == nav_type::kLast) {
    m_State.FirstRecord = WrapLong(std::int64_t{m_State.TotalRecords} - m_iLastRow);
    return;
  }
  const Long last = WrapLong(std::int64_t{m_State.FirstRecord} + m_iLastRow);
  if (last > m_State.TotalRecords) m_State.TotalRecords = last;
}

// Rows that were read backward are turned around. The outer select of a nested read has done so once already,
// which a union, with its own outer ORDER BY, undoes.
void DRecordset::PutRowsInOrder(bool iOneBranch) {
  const bool backward = m_State.NavType >= nav_type::kPrevious;
  const bool turned = (backward && !m_bDoubleTop) ||
                      (m_State.NavType == nav_type::kNext && m_bDoubleTop && iOneBranch) ||
                      (backward && !iOneBranch);
  if (!turned || m_iLastRow <= 0) return;
  const auto last = static_cast<std::size_t>(m_iLastRow);
  for (std::size_t row = 0; row <= (last - 1) / 2; ++row) {
    for (std::size_t column = 0; column < m_vRows.Columns(); ++column) {
      std::swap(m_vRows.At(column, row), m_vRows.At(column, last - row));
    }
  }
}

void DRecordset::MovePageNumbers() {
  if (m_State.TotalRecords == 0) m_bPageJump = false;
  m_lTotalPages = PagesOf(m_State.TotalRecords, m_iPageSize);
  if (!m_bPageState) m_Jump = MoveOfStep(m_State, m_Jump);
  const PageWindow window = WindowAfterRead(m_State, m_lTotalPages, m_iDisplayablePages, m_Jump);
  m_State.LeftPage = m_leftPageNumber = window.left;
  m_State.RightPage = m_rightPageNumber = window.right;
}

}  // namespace varnel
