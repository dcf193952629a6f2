// One page of a table as a grid, by the library and the host's database, without a server and without
// scripts:
//   varnel-embedding FILE.db [QUERY] > page.html
// FILE.db holds a table ELEMENT, as `varnel new` makes it; QUERY is what stands behind the "?" of a grid's
// link.
#include <cstdio>

#include "host-linux/application/LinuxPlatform.h"
#include "host-linux/services/MessageManager.h"
#include "host-linux/web/ObjectContext.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/grid/DGrid.h"

using namespace hostlinux;
using varnel::CastObject;

namespace {

// The words of a grid, in the language 1033, English.
const MessageManager::Texts kTexts = {{u"SLBGE0015", u"Records"},
                                      {u"SLBGE0016", u"[%CurrentRecord%] of [%RecordCount%]"},
                                      {u"SLBGE0017", u"No records"},
                                      {u"SLBGE0018", u"First page"},
                                      {u"SLBGE0019", u"Previous page"},
                                      {u"SLBGE0020", u"Next page"},
                                      {u"SLBGE0021", u"Last page"},
                                      {u"SLBGE0032", u"Sort"},
                                      {u"SLBGE0034", u"Sorted: turn around"},
                                      {u"SLBGE0035", u"Sorted: turn around"}};

// What the library finds around it: a request that tells the place in the list, and values of the
// application.
ObjectContext::Intrinsics MakeIntrinsics(const char* file, const char* query) {
  HttpRequest http;
  http.method = "GET";
  http.path = "/example/elements";  // links are built from it: /example/elements?R_1=...
  http.rawQuery = query;
  auto request = std::make_shared<PageRequest>();
  ReadPageRequest(http, {}, *request);
  const auto application = std::make_shared<ApplicationState>();
  application->Set(u"Demo_ConnectionString",
                   u"Provider=SQLite;Mode=Read;Data Source=" + varnel::FromUtf8(file));
  application->Set(
      u"I18NMessageManager",
      std::make_shared<MessageManager>(std::map<varnel::String, MessageManager::Texts>{{u"1033", kTexts}}));
  const auto sessions = std::make_shared<SessionStore>(SessionStore::Options());
  return {std::make_shared<Request>(request), std::make_shared<Response>(Response::Options()),
          std::make_shared<Session>(sessions, "", Session::Options()),
          std::make_shared<Application>(application), std::make_shared<Server>(Server::Options())};
}

void WriteElements(varnel::Page& page) {
  page.OpenDatabaseConnection(u"Demo");
  const auto rs = CastObject<varnel::DRecordset>(page.DRecordset());
  rs->SetPageSize(3);
  rs->SetRecCountON();
  const auto grid = CastObject<varnel::DGrid>(page.DGrid(rs, u"Elements", false, varnel::Missing()));
  grid->Col(u"Symbol", u"", 0, varnel::AlignDefault, varnel::VAlignDefault, 1);
  grid->Col(u"Name", u"NAME", 0, varnel::AlignDefault, varnel::VAlignDefault, 1);
  rs->OpenRS(u"SELECT ATOMICNUMBER, SYMBOL, NAME FROM ELEMENT", u"ATOMICNUMBER");
  for (; !rs->IsEOF(); rs->MoveNext()) {
    grid->Cell(HtmlEncodeText(varnel::ToText(rs->Fields()->Item(u"SYMBOL")->Value)));
    grid->Cell(HtmlEncodeText(varnel::ToText(rs->Fields()->Item(u"NAME")->Value)));
  }
  page.Add(varnel::ObjectPtr(grid));
}

}  // namespace

int main(int argc, char** argv) try {
  const SiteConfiguration site;
  LinuxPlatform platform(site, AdoDatabase::Make({}));
  varnel::host::SetPlatform(&platform);
  const auto intrinsics = MakeIntrinsics(argc > 1 ? argv[1] : "elements.db", argc > 2 ? argv[2] : "");
  const ContextGuard request(std::make_shared<ObjectContext>(
      intrinsics, [&](varnel::StringView progID) { return platform.CreateObject(progID); }));
  WriteElements(*CastObject<varnel::Page>(CurrentContext()->CreateInstance(u"Varnel.Page")));
  std::puts(intrinsics.response->Take().body.c_str());
  return 0;
} catch (const varnel::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
