#include "tests/application/ServedSite.h"

#include <utility>

#include "host-linux/application/SiteHost.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/ListenSocket.h"

namespace hosttest {

using namespace hostlinux;

namespace {

ServerOptions OptionsOf(const SiteConfiguration& site) {
  ServerOptions options;
  options.threads = static_cast<unsigned>(site.server.threads);
  options.maxBody = site.server.maxBody;
  return options;
}

ServerHandlers HandlersOf(SiteHost& host) {
  ServerHandlers handlers;
  handlers.quick = [&host](const HttpRequest& request) { return host.AnswerQuickly(request); };
  handlers.page = [&host](const HttpRequest& request, ClientLink& link) {
    return host.AnswerPage(request, link);
  };
  handlers.problem = [](const std::string& problem) { WriteLog(LogLevel::Error, problem); };
  return handlers;
}

SiteConfiguration Configuration(const std::filesystem::path& folder) {
  SiteConfiguration configuration = LoadSiteConfiguration(folder);
  StartLog(configuration);
  return configuration;
}

}  // namespace

ScriptRuntime& SharedRuntime() {
  static ScriptRuntime runtime({});
  return runtime;
}

struct ServedSite::Parts {
  Parts(const std::filesystem::path& folder, ComponentFactory ownComponents)
      : host(Configuration(folder), SharedRuntime(), {{}, std::move(ownComponents)}),
        server(OptionsOf(host.Site()), HandlersOf(host), ListenAt("127.0.0.1:0")) {}
  SiteHost host;
  HttpServer server;  // ends first: its threads hold engines of the host
};

ServedSite::ServedSite(const std::filesystem::path& folder, ComponentFactory ownComponents)
    : m_parts(std::make_unique<Parts>(folder, std::move(ownComponents))) {}

ServedSite::~ServedSite() {
  m_parts = nullptr;
  StopLog();
}

std::uint16_t ServedSite::Port() const { return m_parts->server.Port(); }

std::string ServedSite::PageText(const std::string& page, const std::string& query) const {
  const std::string target = m_parts->host.Site().root + "/" + page + (query.empty() ? "" : "?" + query);
  const Answer answer = TestClient(Port()).Get(target);
  EXPECT_EQ(answer.status, 200) << page << ": " << answer.body;
  return answer.body;
}

PageTest::PageTest() = default;
PageTest::~PageTest() = default;

ServedSite& PageTest::Served() {
  if (!m_served) m_served = std::make_unique<ServedSite>(site.Folder(), ownComponents);
  return *m_served;
}

TestClient& PageTest::Client() {
  if (!m_client) m_client = std::make_unique<TestClient>(Served().Port());
  return *m_client;
}

Answer PageTest::Get(const std::string& target, const std::string& headers) {
  return Client().Get(target, headers);
}

Answer PageTest::Post(const std::string& target, const std::string& body, const std::string& type,
                      const std::string& headers) {
  Client().Send("POST " + target + " HTTP/1.1\r\nHost: localhost\r\nContent-Type: " + type +
                "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers + "\r\n" + body);
  return Client().ReadAnswer();
}

std::string PageTest::NewPage(const std::string& page) {
  const std::string name = "page" + std::to_string(++m_pages) + ".asp";
  site.WritePage(name, page);
  return name;
}

Answer PageTest::Ask(const std::string& page, const std::string& query, const std::string& headers) {
  return Get("/shop/" + NewPage(page) + (query.empty() ? "" : "?" + query), headers);
}

std::string PageTest::Output(const std::string& page, const std::string& query) {
  const Answer answer = Ask(page, query);
  EXPECT_EQ(answer.status, 200) << answer.body;
  return answer.body;
}

std::string PageTest::Failure(const std::string& page) {
  const Answer answer = Ask(page);
  EXPECT_EQ(answer.status, 500) << answer.body;
  const std::string opening = "later.</p>\n<p>";
  const std::size_t start = answer.body.find(opening);
  if (start == std::string::npos) return {};
  const std::size_t end = answer.body.find("</p>", start + opening.size());
  return Unescaped(answer.body.substr(start + opening.size(), end - start - opening.size()));
}

std::string PageTest::EndedLog() {
  m_client = nullptr;
  m_served = nullptr;
  return site.Read("site.log");
}

std::string Unescaped(std::string text) {
  const std::pair<const char*, const char*> escapes[] = {
      {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&amp;", "&"}};
  for (const auto& [escape, plain] : escapes) {
    for (std::size_t at = 0; (at = text.find(escape, at)) != std::string::npos; ++at) {
      text.replace(at, std::string(escape).size(), plain);
    }
  }
  return text;
}

std::string CookieLine(const Answer& answer) {
  const std::string* cookie = answer.headers.Find("Set-Cookie");
  if (cookie == nullptr) return {};
  return "Cookie: " + cookie->substr(0, cookie->find(';')) + "\r\n";
}

}  // namespace hosttest
