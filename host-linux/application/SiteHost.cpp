#include "host-linux/application/SiteHost.h"

#include <algorithm>
#include <filesystem>

#include "host-linux/application/AbsentSession.h"
#include "host-linux/application/FailureText.h"
#include "host-linux/application/FirstPageLink.h"
#include "host-linux/application/RequestScope.h"
#include "host-linux/application/SiteParts.h"
#include "host-linux/guard/SealKeys.h"
#include "host-linux/intrinsics/Cookies.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/nls/LocaleTable.h"
#include "host-linux/script/HintedError.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/ErrorPage.h"
#include "varnel/automation/Error.h"
#include "varnel/utilities/Utilities.h"

namespace hostlinux {

namespace {

constexpr char kPageExtension[] = ".asp";

// A changed page may wait so long before it is seen; whoever is developing sees it at once.
constexpr std::chrono::milliseconds kRecheckInProduction(1000);

// Of the calling thread, once it has one.
thread_local const ScriptEngine* engineOfThread = nullptr;

std::optional<std::chrono::milliseconds> TimeLeftOfPage() {
  return engineOfThread == nullptr ? std::nullopt : engineOfThread->TimeLeft();
}

HttpResponse TooManySessions(const std::string& requestId, std::chrono::seconds wait) {
  HttpResponse response = ErrorResponse(429, requestId);
  response.headers.Set("Retry-After", std::to_string(wait.count()));
  return response;
}

HttpResponse Redirection(const std::string& target) {
  HttpResponse response;
  response.status = 302;
  response.headers.Set("Location", target);
  return response;
}

std::string CookieOf(const HttpRequest& request, std::string_view name) {
  const auto cookies = ParseCookies(CookieHeaderOf(request.headers));
  const auto found = std::find_if(cookies.begin(), cookies.end(),
                                  [&](const FormField& cookie) { return cookie.name == name; });
  return found == cookies.end() ? std::string() : found->value;
}

// A failure of the inner page is one of the running page.
void ExecuteInner(ScriptEngine& engine, const std::string& page) {
  const PageResult result = engine.RunInner(page);
  if (result.outcome != PageResult::Outcome::Failed) return;
  throw HintedError({result.failure.number, varnel::FromUtf8(result.failure.source),
                     varnel::FromUtf8(PlaceOf(result.failure) + result.failure.description), u"", 0},
                    varnel::FromUtf8(result.failure.hint));
}

Intrinsics NamedIntrinsics(const ObjectContext::Intrinsics& objects) {
  Intrinsics named{{"Request", objects.request},
                   {"Response", objects.response},
                   {"Application", objects.application},
                   {"Server", objects.server},
                   {"Utilities", varnel::MakeUtilities()}};
  if (objects.session != nullptr) named.emplace_back("Session", objects.session);
  return named;
}

ScriptFailure OverfullPage(const std::string& page) {
  ScriptFailure failure;
  failure.message = failure.description = "The page is longer than max_response_buffer allows";
  failure.hint = "max_response_buffer of [server] in site.toml; Response.Flush sends what is there.";
  failure.file = page;
  failure.number = kUncaughtNumber;
  failure.source = "Varnel";
  return failure;
}

bool HasHiddenSegment(const std::string& path) {
  return path.starts_with(".") || path.find("/.") != std::string::npos;
}

}  // namespace

SiteHost::SiteHost(SiteConfiguration site, ScriptRuntime& runtime, Options options)
    : m_site(std::move(site)),
      m_runtime(runtime),
      m_inspection(options.inspection),
      m_pages(m_site.PagesFolder()),
      m_files(m_site.PagesFolder().string(), FileCaching(m_site)),
      m_application(MakeApplication(m_site)),
      m_sessions(MakeSessions(m_site, std::move(options.sessions))),
      m_newSessions(options.limitsVisitors ? MakeSessionLimit(m_site) : nullptr),
      m_platform(m_site,
                 MakeDatabase(m_site, std::move(options.onStatement), &TimeLeftOfPage, options.readsOnly),
                 std::move(options.ownComponents)),
      m_links(options.guardsLists ? m_site.lists.links : SiteConfiguration::Links::Any),
      m_sealKeys(m_links == SiteConfiguration::Links::Sealed ? LoadSealKeys(m_site) : std::vector<SealKey>()),
      m_advises(options.advises && m_site.mode == SiteConfiguration::Mode::Development),
      m_onList(std::move(options.onList)) {
  const auto locale = FindLocale(m_site.lcid);
  if (!locale) throw ConfigurationError("site.toml: there is no locale " + std::to_string(m_site.lcid));
  varnel::SetUserLocale(*locale);
  varnel::host::SetPlatform(&m_platform);
}

SiteHost::~SiteHost() { varnel::host::SetPlatform(nullptr); }

std::optional<std::string> SiteHost::FileOf(const std::string& path) const {
  if (!path.starts_with(m_site.root + "/")) return std::nullopt;
  std::string file = path.substr(m_site.root.size() + 1);
  if (file.empty() || file.ends_with("/")) file += m_site.defaultPage;
  return file;
}

bool SiteHost::IsPage(const std::string& file) const {
  if (!file.ends_with(kPageExtension) || HasHiddenSegment(file)) return false;
  if (m_knownPages.Holds(file)) return true;
  std::error_code unreachable;  // a name longer than any file's, for instance
  if (!std::filesystem::is_regular_file(m_site.PagesFolder() / file, unreachable)) return false;
  if (m_site.mode == SiteConfiguration::Mode::Production) m_knownPages.Add(file);
  return true;
}

bool SiteHost::KnownPages::Holds(const std::string& file) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_seen.find(file);
  return found != m_seen.end() && std::chrono::steady_clock::now() - found->second < kRecheckInProduction;
}

// Names of pages that are there: there are only so many of them.
void SiteHost::KnownPages::Add(const std::string& file) {
  const std::lock_guard lock(m_mutex);
  m_seen[file] = std::chrono::steady_clock::now();
}

std::optional<HttpResponse> SiteHost::AnswerQuickly(const HttpRequest& request) const {
  if (request.path == "/" || request.path == m_site.root) return Redirection(m_site.root + "/");
  const auto file = FileOf(request.path);
  if (!file) return ErrorResponse(404, request.id);
  if (!file->ends_with(kPageExtension)) return m_files.Serve(request, *file);
  if (!IsPage(*file)) return ErrorResponse(404, request.id);
  const bool known = request.method == "GET" || request.method == "HEAD" || request.method == "POST";
  if (known) return std::nullopt;
  HttpResponse response = ErrorResponse(405, request.id);
  response.headers.Set("Allow", "GET, HEAD, POST");
  return response;
}

HttpResponse SiteHost::AnswerPage(HttpRequest request, ClientLink& link) {
  const std::string id = request.id;
  const RequestLogScope scope(id);
  PageRequest page;
  const std::string refused = ReadPageRequest(std::move(request), m_site.server.refuseParameters, page);
  if (!refused.empty()) {
    WriteLog(LogLevel::Info, "Refused: " + refused);
    return ErrorResponse(400, id, refused);
  }
  return RunPage(std::move(page), &link).response;
}

ScriptEngine& SiteHost::EngineOfThread() {
  thread_local std::unique_ptr<ScriptEngine> engine;
  if (engine == nullptr) {
    ScriptEngine::Options options;
    options.siteRoot = m_site.root;
    options.heapBytes = m_site.server.maxHeap;
    if (m_site.mode == SiteConfiguration::Mode::Production) options.recheck = kRecheckInProduction;
    options.constants = PublicEnumerations();
    options.inspection = m_inspection;
    options.pagesUrl = PagesUrl(m_site);
    engine = std::make_unique<ScriptEngine>(m_runtime, m_pages, std::move(options));
    engineOfThread = engine.get();
  }
  return *engine;
}

// Ends the page where its visitor begins too many sessions.
std::function<void()> SiteHost::SessionGate(const HttpRequest& request, ScriptEngine& engine,
                                            Ending& ending) {
  if (!m_newSessions || !HasOwnAddress(request)) return {};
  return [this, &engine, &ending, address = request.remoteAddress] {
    ending.wait = m_newSessions->Take(address);
    if (ending.wait.count() == 0) return;
    engine.EndPage();
    throw varnel::PageEnded();
  };
}

std::shared_ptr<Session> SiteHost::SessionOf(const PageRequest& request, const PageDirectives& directives,
                                             std::function<void()> beforeBegin) {
  if (!directives.sessionState) return nullptr;
  Session::Options options;
  options.beforeBegin = std::move(beforeBegin);
  options.lcid = m_site.lcid;
  options.cookiePath = m_site.root;
  options.secure = request.http.https;
  auto session = std::make_shared<Session>(m_sessions, CookieOf(request.http, kSessionCookie), options);
  if (directives.lcid) session->SetPageLCID(*directives.lcid);
  return session;
}

PageAnswer SiteHost::FailedPage(const std::string& requestId, ScriptFailure failure) const {
  WriteLog(LogLevel::Error, Describe(failure));
  if (m_site.mode == SiteConfiguration::Mode::Production) {
    return {ErrorResponse(500, requestId), std::move(failure)};
  }
  const std::string source = failure.line > 0 ? m_pages.Read(failure.file).value_or("") : "";
  return {ErrorResponse(500, requestId, Describe(failure), SourceExcerpt(source, failure.line)),
          std::move(failure)};
}

Server::Options SiteHost::ServerOptionsFor(const PageRequest& request, ScriptEngine& engine) const {
  Server::Options options;
  options.pagePath = request.http.path;
  options.root = m_site.root;
  options.pagesFolder = m_site.PagesFolder();
  const auto timeout = std::chrono::duration_cast<std::chrono::seconds>(m_site.server.scriptTimeout);
  options.scriptTimeout = std::max(varnel::Long{1}, static_cast<varnel::Long>(timeout.count()));
  options.createObject = [](varnel::StringView progID) { return CurrentContext()->CreateInstance(progID); };
  options.execute = [&engine](const std::string& page) { ExecuteInner(engine, page); };
  options.endPage = [&engine] { engine.EndPage(); };
  options.setScriptTimeout = [&engine](varnel::Long seconds) {
    engine.SetTimeLimit(std::chrono::seconds(seconds));
  };
  return options;
}

std::shared_ptr<ObjectContext> SiteHost::MakeContext(const std::shared_ptr<PageRequest>& request,
                                                     const PageDirectives& directives, ScriptEngine& engine,
                                                     ClientLink* link, Ending& ending) {
  Response::Options responseOptions;
  responseOptions.maxBuffer = m_site.server.maxResponseBuffer;
  responseOptions.link = link;
  responseOptions.endPage = [&engine] { engine.EndPage(); };
  responseOptions.runOffTime = [&engine](const std::function<void()>& work) { engine.RunOffTime(work); };
  responseOptions.cookiePath = m_site.root;

  ObjectContext::Intrinsics objects;
  objects.session = SessionOf(*request, directives, SessionGate(request->http, engine, ending));
  if (!objects.session)
    objects.absentSession = std::make_shared<AbsentSession>(directives.lcid.value_or(m_site.lcid));
  objects.application = std::make_shared<Application>(m_application, &TimeLeftOfPage);
  objects.response = std::make_shared<Response>(std::move(responseOptions));
  objects.server = std::make_shared<Server>(ServerOptionsFor(*request, engine));
  objects.request = std::make_shared<Request>(request);
  return std::make_shared<ObjectContext>(
      std::move(objects), [this](varnel::StringView progID) { return m_platform.CreateObject(progID); });
}

ListGuard SiteHost::GuardFor(const std::string& page, ScriptEngine& engine) const {
  ListGuard::Options options;
  options.links = m_links;
  options.keys = &m_sealKeys;
  options.root = m_site.root;
  options.defaultPage = m_site.defaultPage;
  options.file = page;
  options.endPage = [&engine] { engine.EndPage(); };
  return ListGuard(std::move(options));
}

// The site's own page for it where there is one: told by the server variable REFUSED_LIST where the list
// begins.
HttpResponse SiteHost::RefusedList(const PageRequest& request) {
  const std::string first = FirstPageLink(request.http.path, request.query);
  const std::string& page = m_site.lists.refusedPage;
  if (!page.empty() && IsPage(page)) {
    const auto own = std::make_shared<PageRequest>();
    own->http = request.http;
    own->http.method = "GET";
    own->http.path = m_site.root + "/" + page;
    own->http.rawQuery.clear();
    own->http.body.clear();
    own->serverVariables = {{"REFUSED_LIST", first}};
    Ending ending;
    PageAnswer answer = RunGuarded(own, page, nullptr, ending);
    if (!answer.failure && !ending.IsEarly()) {
      answer.response.status = 400;
      return std::move(answer.response);
    }
  }
  return ErrorResponse(400, request.http.id, "This link doesn't lead into the list any more.",
                       "<p><a href=\"" + EscapeHtml(first) + "\">To the first page of the list</a></p>\n");
}

void SiteHost::TellWarnings(const std::vector<ListWarning>& warnings, HttpResponse& response) {
  for (const ListWarning& warning : warnings) {
    if (m_lists.IsNew(warning)) WriteLog(LogLevel::Warning, warning.place + ": " + warning.text);
  }
  const std::string* type = response.headers.Find("Content-Type");
  const bool isPage = type != nullptr && type->starts_with("text/html") && !response.file;
  if (isPage && !warnings.empty()) response.body += WarningBox(warnings);
}

std::string SiteHost::HintOfLimit(PageResult::Outcome outcome) const {
  if (outcome == PageResult::Outcome::TimedOut) {
    const auto limit = std::chrono::duration_cast<std::chrono::seconds>(m_site.server.scriptTimeout);
    return "It may run for " + std::to_string(limit.count()) +
           " s: script_timeout of [server] in site.toml, or Server.ScriptTimeout for this page.";
  }
  if (outcome == PageResult::Outcome::OutOfMemory) {
    return "Its script may use " + std::to_string(m_site.server.maxHeap >> 20) +
           " MB: max_heap of [server] in site.toml.";
  }
  return {};
}

PageAnswer SiteHost::RunPage(PageRequest request, ClientLink* link) {
  const std::string id = request.http.id;
  const std::string page = FileOf(request.http.path).value_or("");
  if (!IsPage(page)) return {ErrorResponse(404, id), std::nullopt, true};

  const auto asked = std::make_shared<PageRequest>(std::move(request));
  Ending ending;
  PageAnswer answer = RunGuarded(asked, page, link, ending);
  if (ending.wait.count() > 0) return {TooManySessions(id, ending.wait), std::nullopt};
  if (!ending.refusedList) return answer;
  WriteLog(LogLevel::Info, "Refused: " + *ending.refusedList);
  answer.response = RefusedList(*asked);
  return answer;
}

PageAnswer SiteHost::RunGuarded(const std::shared_ptr<PageRequest>& request, const std::string& page,
                                ClientLink* link, Ending& ending) {
  const std::string id = request->http.id;
  ScriptEngine& engine = EngineOfThread();
  PageDirectives directives;
  if (auto failure = engine.Prepare(page, directives)) return FailedPage(id, std::move(*failure));

  ListGuard lists = GuardFor(page, engine);  // outlives the context
  const auto context = MakeContext(request, directives, engine, link, ending);
  if (m_links != SiteConfiguration::Links::Any) context->SetStateGuard(&lists);
  ListAdvice advice(
      m_lists, [&engine] { return PlaceText(engine.Place()); }, m_advises, m_onList);
  if (m_advises || m_onList) context->SetListWatcher(&advice);
  RequestScope scope(id, context, m_platform.Database());
  Response& response = *scope.Objects().response;
  PageResult result =
      engine.RunPage(page, NamedIntrinsics(scope.Objects()), scope, m_site.server.scriptTimeout);
  ending.refusedList = lists.Refusal();
  // Before the answer goes: whoever has that finds what it tells of, whatever becomes of this process.
  if (const auto& session = scope.Objects().session) session->Save();

  const bool completed =
      result.outcome == PageResult::Outcome::Finished || result.outcome == PageResult::Outcome::Ended;
  if (completed && !response.IsOverfull()) {
    PageAnswer answer{response.Take(), std::nullopt};
    TellWarnings(advice.Warnings(), answer.response);
    return answer;
  }
  if (result.failure.hint.empty()) result.failure.hint = HintOfLimit(result.outcome);
  PageAnswer failed = FailedPage(id, completed ? OverfullPage(page) : std::move(result.failure));
  TellWarnings(advice.Warnings(), failed.response);
  // A session that the page began lives on, so its visitor must learn of it.
  if (const auto& session = scope.Objects().session) session->CompleteHead(failed.response);
  return failed;
}

}  // namespace hostlinux
