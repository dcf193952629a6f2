// The state of the next read: given by the page script, or picked up from the request.
#include "varnel/automation/Convert.h"
#include "varnel/recordset/Arithmetic.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/recordset/PostedState.h"
#include "varnel/recordset/Required.h"
#include "varnel/recordset/StateText.h"

namespace varnel {

void DRecordset::SetState(const String& iPersistedStateInfo) {
  RequireClosed(u"SetState");
  if (iPersistedStateInfo.empty()) {
    TakeDefaultState();
    m_State.JumpPage = 1;
  } else {
    m_State = ReadState(iPersistedStateInfo);
    m_sOutsideState = iPersistedStateInfo;
    if (m_bStateFromUrl && m_State.JumpPage != 0) SetPageState(iPersistedStateInfo, m_State.JumpPage);
    if (m_State.JumpPage == 0) ShowPageOfState();
  }
  TakeDefaultSort();
}

String DRecordset::GetState() {
  RequireOpen(u"GetState");
  return Leaving(SerializeState(m_State));
}

void DRecordset::TakeDefaultState() {
  m_State.NavType = nav_type::kFirst;
  m_State.TotalRecords = -1;
  m_State.FirstRecord = 1;
  m_State.SortFields.clear();
  m_State.SortReversed = m_bDefaultSortReversed;
  m_State.DisplayPage = 1;
  m_State.LeftPage = 0;
  m_State.RightPage = 0;
  m_lDisplayPage = 1;
  m_sOutsideState.clear();
}

void DRecordset::TakeDefaultSort() {
  if (!m_State.SortFields.empty()) return;
  m_State.SortFields = m_sDefaultSortFields;
  m_State.SortReversed = m_bDefaultSortReversed;
}

// The number of the page that a step from DisplayPage leads to.
void DRecordset::ShowPageOfState() {
  const auto from = std::int64_t{m_State.DisplayPage};
  switch (m_State.NavType) {
    case nav_type::kFirst:
      m_lDisplayPage = 1;
      break;
    case nav_type::kNext:
      m_lDisplayPage = WrapLong(from + 1);
      break;
    case nav_type::kPrevious:
      m_lDisplayPage = WrapLong(from - 1);
      break;
    case nav_type::kLast:
      m_lDisplayPage = PagesOf(m_State.TotalRecords, m_iPageSize);
      break;
    default:
      break;
  }
}

void DRecordset::SetPageState(const String& iPersistedStateInfo, Long lPosition) {
  RequireClosed(u"SetPageState");
  if (iPersistedStateInfo.empty()) {
    TakeDefaultState();
    m_lTotalPages = 0;
    m_leftPageNumber = 0;
    m_rightPageNumber = 0;
  } else {
    // From a URL the text has just been read by SetState.
    if (!m_bStateFromUrl) m_State = ReadState(iPersistedStateInfo);
    m_sOutsideState = iPersistedStateInfo;
    JumpTo(lPosition);
  }
  TakeDefaultSort();
}

void DRecordset::JumpTo(Long iPosition) {
  const Long pages = PagesOf(m_State.TotalRecords, m_iPageSize);
  m_lDisplayPage = iPosition;
  if (iPosition == 1) m_State.NavType = nav_type::kFirst;
  if (iPosition == pages) m_State.NavType = nav_type::kLast;  // with one page the last wins
  if (iPosition == 1 || iPosition == pages) m_State.FirstRecord = 1;

  m_Jump.left = iPosition < m_State.LeftPage;
  if (m_Jump.left && iPosition < 0) m_lDisplayPage = 1;
  m_Jump.right = m_lDisplayPage > m_State.RightPage;
  if (m_Jump.right && m_lDisplayPage > pages) m_lDisplayPage = m_State.RightPage;

  SkipPages();
  // Both ends: the window is made anew once the page has been read.
  m_leftPageNumber = m_State.RightPage;
  m_rightPageNumber = m_State.RightPage;
  m_bPageState = true;
}

// The state already stands one page away from DisplayPage; the other pages of the way are added here.
void DRecordset::SkipPages() {
  const Long distance = WrapLong(std::int64_t{m_State.DisplayPage} - m_lDisplayPage);
  if (distance == 1 || distance == -1) return;
  const auto rows = [&](std::int64_t pages) { return (pages < 0 ? -pages : pages) * m_iPageSize; };
  const auto first = std::int64_t{m_State.FirstRecord};
  if (m_State.NavType == nav_type::kPrevious) {
    m_State.FirstRecord = WrapLong(first - rows(std::int64_t{distance} - 1));
  } else if (m_State.NavType == nav_type::kNext) {
    m_State.FirstRecord = WrapLong(first + rows(std::int64_t{distance} + 1));
  }
}

void DRecordset::TakeStateFromRequest() {
  if (!Required(m_oPage).GetDGridViaPost()) {
    m_bStateFromUrl = true;
    SetState(ToText(Required(m_oRequest).QueryString().Value(m_sName)));
    return;
  }
  const String posted = StateOfForm();
  if (!posted.empty()) SetState(posted);
}

// A clicked navigation button brings its own state; else one that was submitted in the two fields made for
// it.
String DRecordset::StateOfForm() {
  for (char16_t digit = u'0'; digit <= u'3'; ++digit) {
    const String posted = PostedState(Required(m_oRequest).Form(), m_sName + digit);
    if (!posted.empty()) return posted;
  }
  return GetSubmittedState();
}

String DRecordset::GetSubmittedState() {
  host::IRequest& request = Required(m_oRequest);
  const bool posted = ToText(request.ServerVariables().Value(u"REQUEST_METHOD")) == u"POST";
  if (posted) {
    const host::IRequestCollection& form = request.Form();
    return Trim(ToText(form.Value(u"CHOWC"))) == u"1" ? ToText(form.Value(u"CTATEC")) : String();
  }
  const host::IRequestCollection& query = request.QueryString();
  return ToText(query.Value(u"CHOWC")).empty() ? String() : ToText(query.Value(u"CTATEC"));
}

}  // namespace varnel
