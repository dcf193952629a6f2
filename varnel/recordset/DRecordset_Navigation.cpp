// What leads away from the page: state texts, URLs and page links.
#include "varnel/automation/Convert.h"
#include "varnel/recordset/Arithmetic.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/recordset/Required.h"
#include "varnel/recordset/StateText.h"

namespace varnel {

String DRecordset::StateOf(StringView iOperation, String NavigationTexts::*iText) const {
  RequireOpen(iOperation);
  return Leaving(m_Texts.*iText);
}

String DRecordset::UrlOf(StringView iOperation, String NavigationTexts::*iText) {
  RequireOpen(iOperation);
  return UrlOf(m_Texts.*iText);
}

using Texts = NavigationTexts;

String DRecordset::GetStateFirst() { return StateOf(u"GetStateFirst", &Texts::m_sStateFirst); }
String DRecordset::GetStatePrev() { return StateOf(u"GetStatePrev", &Texts::m_sStatePrev); }
String DRecordset::GetStateNext() { return StateOf(u"GetStateNext", &Texts::m_sStateNext); }
String DRecordset::GetStateLast() { return StateOf(u"GetStateLast", &Texts::m_sStateLast); }
String DRecordset::GetStatePrevPage() { return StateOf(u"GetStatePrevPage", &Texts::m_sStatePrevPage); }
String DRecordset::GetStateNextPage() { return StateOf(u"GetStateNextPage", &Texts::m_sStateNextPage); }
// Its guard bears the name of its neighbour; scripts have known the text that way.
String DRecordset::GetCurrentState() { return StateOf(u"GetStateNextPage", &Texts::m_sStateCurrent); }

String DRecordset::GetUrlFirst() { return UrlOf(u"GetUrlFirst", &Texts::m_sStateFirst); }
String DRecordset::GetUrlPrev() { return UrlOf(u"GetUrlPrev", &Texts::m_sStatePrev); }
String DRecordset::GetUrlNext() { return UrlOf(u"GetUrlNext", &Texts::m_sStateNext); }
String DRecordset::GetUrlLast() { return UrlOf(u"GetUrlLast", &Texts::m_sStateLast); }

Integer DRecordset::GetCurrentSortOrder(const String& iSortFields) {
  RequireOpen(u"GetCurrentSortOrder");
  return SortOrder(iSortFields);
}

String DRecordset::GetStateSorted(const String& iSortFields) {
  RequireOpen(u"GetStateSorted");
  return Leaving(SortedState(iSortFields));
}

String DRecordset::GetUrlSorted(const String& iSortFields) {
  RequireOpen(u"GetUrlSorted");
  return UrlOf(SortedState(iSortFields));
}

// The sign tells the side on which the page lies, and with it which text is the base.
String DRecordset::GetUrlForPage(Long& lPosition) {
  RequireOpen(u"GetUrlForPage");
  const bool toTheLeft = lPosition < 0;
  if (toTheLeft) lPosition = WrapLong(-std::int64_t{lPosition});
  const String& base = toTheLeft ? m_Texts.m_sStatePrevPage : m_Texts.m_sStateNextPage;
  return base.empty() ? String() : UrlOf(base + EncodeNumber(DecimalText(lPosition)));
}

void DRecordset::SetPageJump(bool& bPageJump, Integer& lDisplayablePages) {
  m_bPageJump = bPageJump;
  m_iDisplayablePages = lDisplayablePages;
}

bool DRecordset::GetPageJump() { return m_bPageJump; }

Long DRecordset::GetTotalNumberOfRecords() {
  RequireOpen(u"GetTotalNumberOfRecords");
  return m_State.TotalRecords;
}

Long DRecordset::GetRecordNumberForFirstRecordOnPage() {
  RequireOpen(u"GetRecordNumberForFirstRecordOnPage");
  return m_State.FirstRecord;
}

Long DRecordset::GetRecordNumberForLastRecordOnPage() {
  RequireOpen(u"GetRecordNumberForLastRecordOnPage");
  return m_iLastRow == -1 ? m_State.FirstRecord : WrapLong(std::int64_t{m_State.FirstRecord} + m_iLastRow);
}

PageShown DRecordset::PageJustRead(const std::vector<SortField>& iFields) {
  PageShown page{m_iPageSize, m_iLastRow, m_bPageJump, m_lDisplayPage, m_lTotalPages, {}, {}};
  if (m_iLastRow == -1) return page;
  for (const SortField& sortField : iFields) {
    const auto field = Required(m_oFields).Item(sortField.Name);
    const Integer column = field->Hidden_Data_Index_;
    page.firstKeys.push_back(KeyValueToText(BufferedValue(column, 0), field->Type_));
    page.lastKeys.push_back(KeyValueToText(BufferedValue(column, m_iLastRow), field->Type_));
  }
  return page;
}

// The running page with all its parameters but the state's own, which comes last and empty.
String DRecordset::BuildBaseUrl() {
  if (m_oPage == nullptr) return {};
  host::IRequest& request = Required(m_oRequest);
  String url = ToText(request.ServerVariables().Value(u"URL"));
  char16_t separator = u'?';
  const auto appendName = [&](const String& name) {
    url += separator + m_oPage->URLEncode(name) + u"=";
    separator = u'&';
  };
  const host::IRequestCollection& query = request.QueryString();
  const Long count = query.Count();
  for (Long i = 1; i <= count; ++i) {
    const String key = query.Key(i);
    if (EqualsNoCase(key, m_sName)) continue;
    appendName(key);
    url += m_oPage->URLEncode(query.ValueAt(i));
  }
  appendName(m_sName);
  return url;
}

String DRecordset::UrlOf(const String& iState) {
  if (iState.empty()) return {};
  return m_sBaseUrl + Required(m_oPage).URLEncode(Leaving(iState));
}

Integer DRecordset::SortOrder(const String& iSortFields) const {
  if (!EqualsNoCase(iSortFields, m_State.SortFields)) return 0;
  return m_State.SortReversed ? -1 : 1;
}

String DRecordset::SortedState(const String& iSortFields) const {
  PersistedState state;
  state.NavType = nav_type::kFirst;
  state.TotalRecords = m_State.TotalRecords;
  state.FirstRecord = 1;
  state.SortFields = iSortFields;
  state.SortReversed = SortOrder(iSortFields) == 1;
  state.DisplayPage = 1;
  return SerializeState(state);
}

}  // namespace varnel
