#include "varnel/page/Page.h"

#include <algorithm>
#include <array>

#include "varnel/automation/Members.h"
#include "varnel/page/Lib_General.h"
#include "varnel/page/Style.h"
#include "varnel/page/Utillities.h"

namespace varnel {

namespace {

constexpr Long kConnectionTimeout = 15;
constexpr Long kCommandTimeout = 30;
constexpr Integer kMostPagesOfJump = 15;

const String kSource = u"Varnel.Page";
const String kMessageManagerKey = u"I18NMessageManager";
constexpr Long kGeneralFailure = static_cast<Long>(0x80004005);

template <typename T>
std::shared_ptr<T> Component(const ObjectPtr& object) {
  auto component = CastObject<T>(object);
  if (component == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
  return component;
}

}  // namespace

const ClassInfo& Page::Class() const {
  static const std::vector<Variant> noPairs(12, Variant(u""));
  static const ClassInfo info{
      u"Page",
      {
          Method<&Page::OpenDatabaseConnection>(u"OpenDatabaseConnection").Taking(u"iConnectionName"),
          Method<&Page::SetEndUserStyle>(u"SetEndUserStyle"),
          Method<&Page::DRecordset>(u"DRecordset"),
          Method<&Page::Table>(u"Table"),
          Method<&Page::DGrid>(u"DGrid", {false, Missing()})
              .Taking(u"iRecordset, iTitle, iFormBased, iTable"),
          Method<&Page::Add>(u"Add").Taking(u"iPageComponent"),
          Method<&Page::URLEncode>(u"URLEncode").Taking(u"iValue"),
          Method<&Page::URL>(u"URL", noPairs)
              .Taking(u"iFileName, iPar1, iVal1, iPar2, iVal2, iPar3, iVal3, iPar4, iVal4, iPar5, iVal5, "
                      u"iPar6, iVal6"),
          Method<&Page::I18N>(u"I18N").Taking(u"iKey"),
          Method<&Page::SetDGridViaPost>(u"SetDGridViaPost"),
          Method<&Page::GetDGridViaPost>(u"GetDGridViaPost"),
          Method<&Page::ShowPageJump>(u"ShowPageJump").Taking(u"lMaxallowedpages"),
          Method<&Page::GetPageJump>(u"GetPageJump").Taking(u"o_lMaxallowedpages, o_bPageRequired"),
          Method<&Page::AllowSort>(u"AllowSort").Taking(u"iSortFields"),
          Method<&Page::SealState>(u"SealState").Taking(u"iState, iFile, iRecordsetName"),
          Method<&Page::AcceptStatesOf>(u"AcceptStatesOf").Taking(u"iFile"),
          Method<&Page::List>(u"List").Taking(u"iTitle, iQuery, iKeys"),
      }};
  return info;
}

Page::Page() { Page::Activate(); }

Page::~Page() { Page::Deactivate(); }

void Page::Activate() {
  m_ObjectContext = host::GetObjectContext();
  if (m_ObjectContext == nullptr)
    RaiseRuntimeError(runtime_error::kObjectNotSet, u"there is no object context");
  m_Server = host::RequiredIntrinsic<host::IServer>(*m_ObjectContext, u"Server");
  m_Session = host::RequiredIntrinsic<host::ISession>(*m_ObjectContext, u"Session");
  m_Application = host::RequiredIntrinsic<host::IApplication>(*m_ObjectContext, u"Application");
  m_Response = host::RequiredIntrinsic<host::IResponse>(*m_ObjectContext, u"Response");
  m_Request = host::RequiredIntrinsic<host::IRequest>(*m_ObjectContext, u"Request");
  m_ObjectContext = nullptr;
  ClearEndUserMode();
}

void Page::Deactivate() {}

void Page::LetGo() noexcept {
  m_Connection = nullptr;
  m_sConnectionName.clear();
  m_MessageManager = nullptr;
}

void Page::OpenDatabaseConnection(const String& iConnectionName) {
  if (iConnectionName == m_sConnectionName) return;
  const String text = ToText(m_Application->Value(iConnectionName + u"_ConnectionString"));
  const auto connection = host::Platform().CreateConnection();
  connection->SetConnectionTimeout(kConnectionTimeout);
  connection->SetCommandTimeout(kCommandTimeout);
  connection->SetCursorLocation(host::ado::kUseServer);
  connection->SetIsolationLevel(host::ado::kReadCommitted);
  connection->Open(text, u"", u"", host::ado::kUnspecified);
  connection->Execute(u"set TRANSACTION ISOLATION LEVEL READ COMMITTED", host::ado::kUnspecified);
  m_Connection = connection;
  m_sConnectionName = iConnectionName;
}

void Page::SetEndUserStyle() { SetEndUserMode(); }

ObjectPtr Page::DRecordset() {
  if (m_Connection == nullptr) {
    Util_Raise(
        -1, kSource,
        u"Parameter error: Page.OpenDatabaseConnection() should be called before creating a DRecordset", u"",
        0);
  }
  m_iLastRecordsetID = static_cast<Integer>(m_iLastRecordsetID + 1);
  const ObjectPtr recordset = Gen_GetComponent(u"Varnel.DRecordset");
  Component<IDRecordset>(recordset)->Initialize(SharedFrom(*this), m_iLastRecordsetID, m_Connection);
  return recordset;
}

ObjectPtr Page::Table() {
  const ObjectPtr table = Gen_GetComponent(u"Varnel.Table");
  Component<ITable>(table)->InitFromPage(SharedFrom(*this));
  return table;
}

ObjectPtr Page::DGrid(const std::shared_ptr<IDRecordset>& iRecordset, const String& iTitle, bool iFormBased,
                      const Variant& iTable) {
  ObjectPtr table;
  if (!iTable.IsMissing() && Util_CastTable(iTable) != nullptr) table = ToObject(iTable);
  const ObjectPtr grid = Gen_GetComponent(u"Varnel.DGrid");
  Component<IDGrid>(grid)->BindFromPage(SharedFrom(*this), iRecordset, iTitle, iFormBased, table);
  return grid;
}

ObjectPtr Page::List(const String& iTitle, const String& iQuery, const String& iKeys) {
  if (m_Connection == nullptr)
    Util_Raise(-1, kSource, u"Page.OpenDatabaseConnection() should be called before creating a List", u"", 0);
  m_iLastListID = static_cast<Integer>(m_iLastListID + 1);
  const ObjectPtr list = Gen_GetComponent(u"Varnel.List");
  Component<IList>(list)->BindFromPage(
      {SharedFrom(*this), m_iLastListID, m_Connection, iTitle, iQuery, iKeys});
  return list;
}

void Page::Add(const Variant& iPageComponent) {
  if (const auto table = Util_CastTable(iPageComponent)) {
    m_Response->Write(table->GetHTML());
  } else if (const auto grid = Util_CastDGrid(iPageComponent)) {
    m_Response->Write(grid->GetFinishedHTML());
  } else if (const auto list = CastObject<IList>(iPageComponent)) {
    list->WriteInto(*m_Response);
  } else {
    m_Response->Write(u"<h1>Parameter error: invalid component added to Page object. " +
                      TypeName(iPageComponent) + u"</h1>");
  }
}

String Page::URLEncode(const String& iValue) { return m_Server->URLEncode(iValue); }

String Page::URL(const String& iFileName, const String& iPar1, const String& iVal1, const String& iPar2,
                 const String& iVal2, const String& iPar3, const String& iVal3, const String& iPar4,
                 const String& iVal4, const String& iPar5, const String& iVal5, const String& iPar6,
                 const String& iVal6) {
  if (m_sVirtualRoot.empty()) {
    const std::vector<String> segments = Split(ToText(m_Request->Item(u"URL")), u"/");
    if (segments.size() < 2) RaiseRuntimeError(runtime_error::kSubscript);
    m_sVirtualRoot = u"/" + segments[1] + u"/";
  }
  struct Pair {
    const String& name;
    const String& value;
  };
  const std::array<Pair, 6> pairs{
      {{iPar1, iVal1}, {iPar2, iVal2}, {iPar3, iVal3}, {iPar4, iVal4}, {iPar5, iVal5}, {iPar6, iVal6}}};
  const auto lastNamed =
      std::find_if(pairs.rbegin(), pairs.rend(), [](const Pair& pair) { return !pair.name.empty(); });
  const auto used = static_cast<std::size_t>(pairs.rend() - lastNamed);

  String url = m_sVirtualRoot + iFileName;
  for (std::size_t i = 0; i < used; ++i) {
    const String name = URLEncode(pairs[i].name);
    url += (i == 0 ? u"?" : u"&") + name + u"=" + URLEncode(pairs[i].value);
  }
  return url;
}

String Page::I18N(const String& iKey) {
  if (m_MessageManager == nullptr) {
    m_MessageManager = GetMessageManager();
    BindUser();
  }
  try {
    const ObjectPtr manager = m_MessageManager;
    return ToText(manager->CallWith(u"getMessage", iKey, m_sLanguageID));
  } catch (...) {
    const ErrInfo e = Util_SaveErr();
    if (e.Number == kGeneralFailure) return iKey + u"-" + m_sLanguageID;
    Util_Raise(e.Number, e.Source,
               kSource + u": Unable to get message '" + iKey + u"' for locale '" + m_sLanguageID +
                   u"' from Commerce.MessageManager. " + e.Description,
               e.HelpFile, e.HelpContext);
  }
}

// Asks the membership component once who the user is and which language he reads.
void Page::BindUser() {
  const ObjectPtr user = Gen_GetComponent(u"Tolvane.User");
  if (user == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  const Variant name = m_Session->Value(u"REMOTE_USER");
  const Variant account = m_Session->Value(u"REMOTE_ACCOUNT");
  const Variant password = m_Session->Value(u"REMOTE_PASSWORD");
  user->CallWith(u"BindAs", name, account, password);
  m_sLanguageID = ToText(user->Get(u"LanguageID"));
}

ObjectPtr Page::GetMessageManager() {
  try {
    const ObjectPtr manager = ToObject(m_Application->Value(kMessageManagerKey));
    if (manager == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
    return manager;
  } catch (...) {
    const ErrInfo e = Util_SaveErr();
    Util_Raise(e.Number, e.Source,
               kSource + u": Unable to get the Commerce.MessageManager object from Application( \"" +
                   kMessageManagerKey + u"\"). " + e.Description,
               e.HelpFile, e.HelpContext);
  }
}

void Page::SetDGridViaPost() { m_bDGridViaPost = true; }

bool Page::GetDGridViaPost() const { return m_bDGridViaPost; }

Variant Page::ShowPageJump(Integer lMaxallowedpages) {
  const Integer pages = std::min(lMaxallowedpages, kMostPagesOfJump);
  m_bShowPageJump = pages >= 1;
  if (m_bShowPageJump) m_iMaxAllowedPages = pages;
  return {};
}

Variant Page::GetPageJump(Integer& o_lMaxallowedpages, bool& o_bPageRequired) {
  o_lMaxallowedpages = m_iMaxAllowedPages;
  o_bPageRequired = m_bShowPageJump;
  return {};
}

void Page::AllowSort(const String& iSortFields) {
  if (host::IStateGuard* guard = host::StateGuard()) guard->AllowSort(iSortFields);
}

String Page::SealState(const String& iState, const String& iFile, const String& iRecordsetName) {
  host::IStateGuard* guard = host::StateGuard();
  return guard == nullptr || iState.empty() ? iState : guard->LeavingFor(iState, iFile, iRecordsetName);
}

void Page::AcceptStatesOf(const String& iFile) {
  if (host::IStateGuard* guard = host::StateGuard()) guard->AcceptStatesOf(iFile);
}

}  // namespace varnel
