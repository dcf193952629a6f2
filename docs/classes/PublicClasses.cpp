#include "docs/classes/PublicClasses.h"

#include "host-linux/application/LinuxPlatform.h"
#include "host-linux/database/AdoCommand.h"
#include "host-linux/database/AdoRecordset.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/services/AccountsComponent.h"
#include "varnel/catalog/CatalogQuery.h"
#include "varnel/grid/DGrid.h"
#include "varnel/list/List.h"
#include "varnel/locale/DataFunctions.h"
#include "varnel/page/PageUtil.h"
#include "varnel/utilities/Upload.h"
#include "varnel/utilities/Utilities.h"

namespace classdocs {

using namespace hostlinux;

namespace {

ObjectContext::Intrinsics MakeIntrinsics() {
  const auto sessions = std::make_shared<SessionStore>(SessionStore::Options());
  return {std::make_shared<Request>(std::make_shared<PageRequest>()),
          std::make_shared<Response>(Response::Options()),
          std::make_shared<Session>(sessions, "", Session::Options()),
          std::make_shared<Application>(std::make_shared<ApplicationState>()),
          std::make_shared<Server>(Server::Options())};
}

// A class that binds the request's objects when it is made.
template <typename C>
varnel::ObjectPtr MakeBound(const ObjectContext::Intrinsics& intrinsics, AdoDatabase& database) {
  const SiteConfiguration site;
  LinuxPlatform platform(site, database.shared_from_this());
  varnel::host::SetPlatform(&platform);
  varnel::ObjectPtr object;
  {
    const ContextGuard guard(std::make_shared<ObjectContext>(intrinsics, ObjectContext::Factory()));
    object = std::make_shared<C>();
  }
  varnel::host::SetPlatform(nullptr);
  return object;
}

}  // namespace

std::vector<PublicClass> PublicClasses() {
  const auto database = AdoDatabase::Make({});
  const auto intrinsics = MakeIntrinsics();
  const auto connection = std::make_shared<AdoConnection>(database);
  const auto recordset = std::make_shared<AdoRecordset>(database);
  return {{"Page", MakeBound<varnel::Page>(intrinsics, *database)},
          {"PageUtil", MakeBound<varnel::PageUtil>(intrinsics, *database)},
          {"DRecordset", varnel::MakeDRecordset()},
          {"DFields", std::make_shared<varnel::DFields>()},
          {"DField", std::make_shared<varnel::DField>()},
          {"List", varnel::MakeList()},
          {"ListColumn", std::make_shared<varnel::ListColumn>(u"A", u"A")},
          {"ListRow", std::make_shared<varnel::ListRow>(nullptr)},
          {"DGrid", varnel::MakeDGrid()},
          {"Table", varnel::MakeTable()},
          {"Upload", varnel::MakeUpload()},
          {"Utilities", varnel::MakeUtilities()},
          {"CatalogQuery", varnel::MakeCatalogQuery()},
          {"DataFunctions", varnel::MakeDataFunctions()},
          {"Request", intrinsics.request},
          {"RequestCollection", intrinsics.request->QueryObject()},
          {"RequestValue", std::make_shared<RequestValue>(std::vector<varnel::String>())},
          {"Response", intrinsics.response},
          {"ResponseCookies", intrinsics.response->Cookies()},
          {"ResponseCookie", intrinsics.response->Cookies()->Item(u"a")},
          {"Session", intrinsics.session},
          {"Application", intrinsics.application},
          {"Contents", intrinsics.application->ContentsObject()},
          {"Server", intrinsics.server},
          {"Host.Accounts", std::make_shared<AccountsComponent>(nullptr, nullptr)},
          {"ADODB.Connection", connection},
          {"ADODB.Errors", connection->ErrorCollection()},
          {"ADODB.Error", std::make_shared<AdoError>(varnel::host::ProviderError())},
          {"ADODB.Command", std::make_shared<AdoCommand>(database)},
          {"ADODB.Parameters", std::make_shared<AdoParameters>()},
          {"ADODB.Parameter", std::make_shared<AdoParameter>()},
          {"ADODB.Recordset", recordset},
          {"ADODB.Fields", recordset->Fields()},
          {"ADODB.Field", std::make_shared<AdoField>(nullptr, 0)}};
}

}  // namespace classdocs
