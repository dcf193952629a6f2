// One page of a table as a grid, by the library and the host's database, without a server and without
// scripts: varnel-embedding FILE.db MESSAGES [QUERY] > page.html
// FILE.db holds a table ELEMENT and the folder MESSAGES the grid's words, as `varnel new` makes both; QUERY
// is what stands behind the "?" of a link.
#include <cstdio>

#include "host-linux/application/KnownEngines.h"
#include "host-linux/application/LinuxPlatform.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/services/MessageManager.h"
#include "varnel/automation/Convert.h"
#include "varnel/grid/DGrid.h"

using namespace hostlinux;
using varnel::CastObject;

namespace {

// What the library finds around it: a request that tells the place in the list, and values of the
// application.
ObjectContext::Intrinsics MakeIntrinsics(const char* file, const char* messages, const char* query) {
  HttpRequest http;
  http.method = "GET";
  http.path = "/example/elements";  // links are built from it: /example/elements?R_1=...
  http.rawQuery = query;
  auto request = std::make_shared<PageRequest>();
  ReadPageRequest(http, {}, *request);
  const auto application = std::make_shared<ApplicationState>();
  application->Set(u"Demo_ConnectionString",
                   u"Provider=SQLite;Mode=Read;Data Source=" + varnel::FromUtf8(file));
  application->Set(u"I18NMessageManager", LoadMessages(messages));
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
  if (argc < 3) throw std::runtime_error("varnel-embedding FILE.db MESSAGES [QUERY]");
  const SiteConfiguration site;
  AdoOptions options;
  options.engines = KnownEngines();
  LinuxPlatform platform(site, AdoDatabase::Make(std::move(options)));
  varnel::host::SetPlatform(&platform);
  const auto intrinsics = MakeIntrinsics(argv[1], argv[2], argc > 3 ? argv[3] : "");
  const ContextGuard request(std::make_shared<ObjectContext>(
      intrinsics, [&](varnel::StringView progID) { return platform.CreateObject(progID); }));
  WriteElements(*CastObject<varnel::Page>(CurrentContext()->CreateInstance(u"Varnel.Page")));
  std::puts(intrinsics.response->Take().body.c_str());
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
