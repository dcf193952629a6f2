// What a host's guard is asked, where there is one: before a state text from outside is used, and wherever
// one leaves.
#include <algorithm>

#include "varnel/recordset/AdoReading.h"
#include "varnel/recordset/DRecordset.h"
#include "varnel/recordset/StateText.h"

namespace varnel {

namespace {

// What a database says of a value that a column's type can't take, and of a column that isn't there.
constexpr StringView kDataFault = u"22";
constexpr StringView kNoSuchColumn = u"42S22";
// Any fault of the text, such as a name that two tables have.
constexpr StringView kTextFault = u"42";

bool HasState(const std::vector<host::ProviderError>& errors, StringView begin) {
  return std::any_of(errors.begin(), errors.end(), [&](const host::ProviderError& error) {
    return StringView(error.SQLState).starts_with(begin);
  });
}

bool HasField(const host::IRecordset& recordset, StringView name) {
  const StringView key = FieldKey(name);
  for (Long position = 0; position < recordset.FieldCount(); ++position) {
    if (EqualsNoCase(recordset.FieldName(position), key)) return true;
  }
  return false;
}

// No engine reads a statement behind a NUL.
bool HasNul(const Variant& key) {
  const String* text = key.As<String>();
  return text != nullptr && text->find(u'\0') != String::npos;
}

// A window of page numbers that no read has made: the widest is two numbers wider than asked for. Whoever
// writes it asks for as many links.
bool IsTooWide(const PersistedState& state, Integer width) {
  return std::int64_t{state.RightPage} - state.LeftPage > std::int64_t{width} + 1;
}

}  // namespace

// Null where nobody guards the list, and for a state that the library made itself.
host::IStateGuard* DRecordset::GuardOfState() const {
  return m_sOutsideState.empty() ? nullptr : host::StateGuard();
}

void DRecordset::RefuseState(const String& iReason) const {
  if (host::IStateGuard* guard = GuardOfState()) guard->Refuse(m_sName + u": " + iReason);
}

String DRecordset::Leaving(const String& iState) const {
  host::IStateGuard* guard = iState.empty() ? nullptr : host::StateGuard();
  return guard == nullptr ? iState : guard->Leaving(iState, m_sName);
}

void DRecordset::DeclareSort(const String& iSortFields) { m_vDeclaredSorts.push_back(iSortFields); }

bool DRecordset::SortIsDeclared() const {
  return std::find(m_vDeclaredSorts.begin(), m_vDeclaredSorts.end(), m_State.SortFields) !=
         m_vDeclaredSorts.end();
}

PersistedState DRecordset::ReadState(const String& iText) const {
  host::IStateGuard* guard = host::StateGuard();
  if (guard == nullptr) return ParseState(iText, m_bStateFromUrl);
  PersistedState state;
  try {
    state = ParseState(iText, m_bStateFromUrl);
  } catch (const Error& error) {
    guard->Refuse(m_sName + u": a damaged state text: " + error.Info().Description);
  }
  return state;
}

void DRecordset::AdmitState(const std::vector<String>& iBranches, const std::vector<SortField>& iFields) {
  host::IStateGuard* guard = GuardOfState();
  if (guard == nullptr) return;
  const std::vector<String> columns = SortColumns(m_State.SortFields);
  guard->Admit({m_sOutsideState, m_sName, m_State.SortFields, columns, iBranches, SortIsDeclared()});
  if (m_State.HasKeys() && m_State.KeyValues.size() != iFields.size()) {
    RefuseState(u"a wrong number of keys");
  }
  if (std::any_of(m_State.KeyValues.begin(), m_State.KeyValues.end(), HasNul)) {
    RefuseState(u"a key that no column can take");
  }
  if (m_bPageJump && IsTooWide(m_State, m_iDisplayablePages)) RefuseState(u"too many page numbers");
}

// The page's own faults stay failures: only what a link can bring about is refused.
void DRecordset::OpenRead(host::IRecordset& ioRecordset, const PageQuery& iQuery,
                          const std::vector<SortField>& iFields) {
  if (GuardOfState() == nullptr)
    return OpenDisconnected(m_oConnection, ioRecordset, iQuery.text, &iQuery.page);
  try {
    OpenDisconnected(m_oConnection, ioRecordset, iQuery.text, &iQuery.page);
  } catch (const Error&) {
    const auto errors =
        m_oConnection == nullptr ? std::vector<host::ProviderError>() : m_oConnection->Errors();
    if (HasState(errors, kDataFault)) RefuseState(u"a key that its column can't take");
    if (HasState(errors, SortIsDeclared() ? kNoSuchColumn : kTextFault))
      RefuseState(u"a sort that can't be read");
    throw;
  }
  // Looked at before the rows: an empty page must not tell more than a full one.
  const std::size_t sorted = SortColumns(m_State.SortFields).size();
  for (std::size_t i = 0; i < sorted; ++i) {
    if (!HasField(ioRecordset, iFields[i].Name)) RefuseState(u"a sort by a column that the result lacks");
  }
}

}  // namespace varnel
