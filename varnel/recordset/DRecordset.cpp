// The member table, binding, options and rows. Opening, states, navigation and the guard have files of their
// own.
#include "varnel/recordset/DRecordset.h"

#include <algorithm>

#include "varnel/automation/Members.h"
#include "varnel/page/Utillities.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

constexpr StringView kSource = u"Varnel.DRecordset";
constexpr Long kAdBSTR = 8;

[[noreturn]] void RaiseGuard(Long number, StringView operation, StringView text) {
  Util_Raise(number, String(kSource), String(operation).append(u": ").append(text), u"", 0);
}

bool IsOfName(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
}

// The error names the parameter.
Variant ParameterOf(const String& name, const Variant& value) {
  try {
    return host::ToParameterValue(value);
  } catch (const Error& error) {
    RaiseGuard(error.Info().Number, u"SetParameter", name + u": " + error.Info().Description);
  }
}

template <typename T>
std::shared_ptr<T> Intrinsic(host::IObjectContext& context, StringView name) {
  return CastObject<T>(context.Item(name));
}

Object& Driven(const ObjectPtr& object) { return Required(object); }

}  // namespace

const ClassInfo& DRecordset::Class() const {
  using D = DRecordset;
  static const ClassInfo info{
      u"DRecordset",
      {
          Method<&D::Initialize>(u"Initialize").Taking(u"iPage, iRecordsetID, iConnection"),
          Method<&D::SetConnection>(u"SetConnection").Taking(u"i_sConnectionString"),
          Method<&D::SetState>(u"SetState").Taking(u"iPersistedStateInfo"),
          Method<&D::SetDefaultSortReversed>(u"SetDefaultSortReversed").Taking(u"iSortReversed"),
          Method<&D::GetState>(u"GetState"),
          Method<&D::GetCurrentSortOrder>(u"GetCurrentSortOrder").Taking(u"iSortFields"),
          Method<&D::GetStateSorted>(u"GetStateSorted").Taking(u"iSortFields"),
          Method<&D::GetStateFirst>(u"GetStateFirst"),
          Method<&D::GetStatePrev>(u"GetStatePrev"),
          Method<&D::GetStateNext>(u"GetStateNext"),
          Method<&D::GetStateLast>(u"GetStateLast"),
          Method<&D::GetUrlSorted>(u"GetUrlSorted").Taking(u"iSortFields"),
          Method<&D::GetUrlFirst>(u"GetUrlFirst"),
          Method<&D::GetUrlPrev>(u"GetUrlPrev"),
          Method<&D::GetUrlNext>(u"GetUrlNext"),
          Method<&D::GetUrlLast>(u"GetUrlLast"),
          Method<&D::SetPageSize>(u"SetPageSize").Taking(u"iPageSize"),
          Method<&D::GetPageSize>(u"GetPageSize"),
          Method<&D::SetRecCountON>(u"SetRecCountON"),
          Method<&D::SetRecCountOFF>(u"SetRecCountOFF"),
          Method<&D::GetIsRecCountON>(u"GetIsRecCountON"),
          Method<&D::GetTotalNumberOfRecords>(u"GetTotalNumberOfRecords"),
          Method<&D::GetRecordNumberForFirstRecordOnPage>(u"GetRecordNumberForFirstRecordOnPage"),
          Method<&D::GetRecordNumberForLastRecordOnPage>(u"GetRecordNumberForLastRecordOnPage"),
          Method<&D::IsOpen>(u"IsOpen"),
          Method<&D::SetDefaultSortFields>(u"SetDefaultSortFields").Taking(u"iSortFields"),
          Method<&D::GetDefaultSortFields>(u"GetDefaultSortFields"),
          Method<&D::OpenRS>(u"OpenRS").Taking(u"iQuery, iPrimaryKeyFields"),
          Method<&D::GetDefault>(u"GetDefault").Taking(u"iIndexOrKey").AsDefault(),
          ReadOnly<&D::Fields>(u"Fields"),
          ReadOnly<&D::IsEOF>(u"EOF"),
          Method<&D::MoveNext>(u"MoveNext"),
          Method<&D::MoveFirst>(u"MoveFirst"),
          Method<&D::GetRecordsetName>(u"GetRecordsetName"),
          Method<&D::GetDataAsRecordSet>(u"GetDataAsRecordSet").Taking(u"oRecordset"),
          DataMember<&D::m_lDisplayPage>(u"m_lDisplayPage"),
          DataMember<&D::m_lTotalPages>(u"m_lTotalPages"),
          DataMember<&D::m_leftPageNumber>(u"m_leftPageNumber"),
          DataMember<&D::m_rightPageNumber>(u"m_rightPageNumber"),
          Method<&D::SetPageJump>(u"SetPageJump").Taking(u"bPageJump, lDisplayablePages"),
          Method<&D::GetPageJump>(u"GetPageJump"),
          Method<&D::SetPageState>(u"SetPageState").Taking(u"iPersistedStateInfo, lPosition"),
          Method<&D::GetStatePrevPage>(u"GetStatePrevPage"),
          Method<&D::GetStateNextPage>(u"GetStateNextPage"),
          Method<&D::GetUrlForPage>(u"GetUrlForPage").Taking(u"lPosition"),
          Method<&D::GetCurrentState>(u"GetCurrentState"),
          Method<&D::SetParameter>(u"SetParameter").Taking(u"iName, iValue"),
      }};
  return info;
}

DRecordset::DRecordset() { m_State.NavType = nav_type::kFirst; }

ObjectPtr MakeDRecordset() { return std::make_shared<DRecordset>(); }

void DRecordset::RequireClosed(StringView iOperation) const {
  if (m_bOpen) RaiseGuard(-1, iOperation, u"Operation not allowed when the DRecordset is open.");
}

void DRecordset::RequireOpen(StringView iOperation) const {
  if (!m_bOpen) RaiseGuard(-2, iOperation, u"Operation not allowed when the DRecordset is not open.");
}

void DRecordset::Initialize(const std::shared_ptr<Page>& iPage, Integer iRecordsetID,
                            const std::shared_ptr<host::IConnection>& iConnection) {
  const auto context = host::GetObjectContext();
  const auto server = Intrinsic<host::IServer>(Required(context), u"Server");
  const auto request = Intrinsic<host::IRequest>(*context, u"Request");
  static_cast<DRecordsetFields&>(*this) = {};
  m_oPage = iPage;
  m_oContext = context;
  m_oServer = server;
  m_oRequest = request;
  m_sName = String(u"R_") + static_cast<char16_t>(48 + iRecordsetID);
  m_oConnection = iConnection;
  m_iPageSize = 10;
  m_iLastRow = -1;
  m_State.NavType = nav_type::kNone;
}

void DRecordset::LetGo() noexcept {
  m_oPage = nullptr;
  m_oContext = nullptr;
  m_oConnection = nullptr;
  m_oFields = nullptr;
  m_vFields.clear();
}

void DRecordset::SetConnection(const String& i_sConnectionString) {
  using namespace host::ado;
  const auto connection = host::Platform().CreateConnection();
  connection->SetConnectionTimeout(15);
  connection->SetCommandTimeout(30);
  connection->SetCursorLocation(kUseServer);
  connection->SetIsolationLevel(kReadCommitted);
  connection->Open(i_sConnectionString, u"", u"", kUnspecified);
  connection->Execute(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", kUnspecified);
  m_oConnection = connection;
}

void DRecordset::SetDefaultSortReversed(bool iSortReversed) { m_bDefaultSortReversed = iSortReversed; }

void DRecordset::SetPageSize(Integer iPageSize) {
  RequireClosed(u"SetPageSize");
  m_iPageSize = iPageSize;
}

Integer DRecordset::GetPageSize() { return m_iPageSize; }
void DRecordset::SetRecCountON() { m_bRecCount = true; }
void DRecordset::SetRecCountOFF() { m_bRecCount = false; }
bool DRecordset::GetIsRecCountON() { return m_bRecCount; }
bool DRecordset::IsOpen() { return m_bOpen; }

void DRecordset::SetDefaultSortFields(const String& iSortFields) {
  RequireClosed(u"SetDefaultSortFields");
  m_sDefaultSortFields = iSortFields;
  DeclareSort(iSortFields);
}

void DRecordset::SetParameter(const String& iName, const Variant& iValue) {
  RequireClosed(u"SetParameter");
  const String name = iName.starts_with(u':') ? iName.substr(1) : iName;
  if (name.empty() || !std::all_of(name.begin(), name.end(), IsOfName)) {
    RaiseGuard(runtime_error::kInvalidArgument, u"SetParameter",
               u"'" + iName + u"' is no name of a parameter: it is of letters, digits and \"_\".");
  }
  host::StatementParameter parameter{name, ParameterOf(name, iValue)};
  std::vector<host::StatementParameter>& values = m_Parameters.values;
  const auto taken = std::find_if(values.begin(), values.end(),
                                  [&](const auto& other) { return EqualsNoCase(other.Name, name); });
  if (taken == values.end()) {
    values.push_back(std::move(parameter));
  } else {
    *taken = std::move(parameter);
  }
}

String DRecordset::GetDefaultSortFields() { return m_sDefaultSortFields; }
Variant DRecordset::GetRecordsetName() { return m_sName; }

std::shared_ptr<DField> DRecordset::GetDefault(Variant& iIndexOrKey) {
  if (m_oFields == nullptr) Util_Raise(-1, String(kSource), u"No data available.", u"", 0);
  // A script that runs for the key may bind this recordset anew.
  const std::shared_ptr<DFields> fields = m_oFields;
  return fields->Item(iIndexOrKey);
}

const ObjectPtr* DRecordset::KeptItem(StringView iName) const {
  return m_oFields == nullptr ? nullptr : m_oFields->KeptItem(iName);
}

std::shared_ptr<DFields> DRecordset::Fields() { return m_oFields; }

bool DRecordset::IsEOF() {
  RequireOpen(u"EOF");
  return m_iCurrentRow > m_iLastRow;
}

void DRecordset::MoveNext() {
  m_iCurrentRow = static_cast<Integer>(m_iCurrentRow + 1);
  if (m_iCurrentRow <= m_iLastRow) LoadRow(m_iCurrentRow);
}

void DRecordset::MoveFirst() { m_iCurrentRow = 0; }

void DRecordset::LoadRow(Integer iRow) {
  if (m_oFields == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  Long k = 0;
  for (const std::shared_ptr<DField>& field : m_vFields) field->Value = BufferedValue(k++, iRow);
}

const Variant& DRecordset::BufferedValue(Long iColumn, Long iRow) const {
  const auto column = static_cast<std::size_t>(iColumn);
  const auto row = static_cast<std::size_t>(iRow);
  const bool inside = iColumn >= 0 && iRow >= 0 && column < m_vRows.Columns() && row < m_vRows.Rows();
  if (!inside) RaiseRuntimeError(runtime_error::kSubscript);
  return m_vRows.At(column, row);
}

void DRecordset::GetDataAsRecordSet(Variant& oRecordset) {
  if (m_iLastRow < 0) {
    oRecordset = nullptr;
    return;
  }
  // Each call of the target may run a script, which may bind this recordset anew.
  const ObjectPtr held = ToObject(oRecordset);
  Object& target = Driven(held);
  if (m_oFields == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  const std::vector<std::shared_ptr<DField>> fields = m_vFields;
  const auto count = static_cast<Long>(fields.size());
  for (const std::shared_ptr<DField>& field : fields) {
    Driven(ToObject(target.Get(u"Fields"))).CallWith(u"Append", field->Name, kAdBSTR);
  }
  target.CallWith(u"Open");
  for (Long row = 0; row <= m_iLastRow; ++row) {
    target.CallWith(u"AddNew");
    for (Long k = 0; k < count; ++k) {
      const Variant value = BufferedValue(k, row);
      if (value.IsNull()) continue;
      Variant position = k;
      const Variant field = Driven(ToObject(target.Get(u"Fields"))).CallDefault(Arguments(&position, 1));
      Driven(ToObject(field)).Put(u"Value", value);
    }
  }
}

}  // namespace varnel
