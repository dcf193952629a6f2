#include "host-linux/application/SiteHost.h"

#include <algorithm>
#include <filesystem>

#include "host-linux/application/AbsentSession.h"
#include "host-linux/application/FailureText.h"
#include "host-linux/application/FirstPageLink.h"
#include "host-linux/application/FormGuard.h"
#include "host-linux/application/PageFunctions.h"
#include "host-linux/application/PageTools.h"
#include "host-linux/application/RequestScope.h"
#include "host-linux/application/SiteParts.h"
#include "host-linux/base/Ascii.h"
#include "host-linux/guard/SealKeys.h"
#include "host-linux/intrinsics/Cookies.h"
#include "host-linux/intrinsics/HostError.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/nls/LocaleTable.h"
#include "host-linux/script/HintedError.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/ErrorPage.h"
#include "host-linux/web/Origin.h"
#include "varnel/automation/Error.h"
#include "varnel/utilities/Utilities.h"

namespace hostlinux {

namespace {

constexpr char kPageExtension[] = ".asp";

// A changed page may wait so long before it is seen; whoever is developing sees it at once.
constexpr std::chrono::milliseconds kRecheckInProduction(1000);

// The pages that answer what went wrong: errors/404.asp.
constexpr char kErrorPages[] = "errors/";

// Such a page tells of a failure, and must not become another one that lasts.
constexpr std::chrono::milliseconds kMostForErrorPage(5000);

// The status of a page that needs its session while nobody can be asked for it.
constexpr int kNoSession = 503;

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

// Stores what the page has left in its session, where it has one.
bool IsStored(Session* session) {
  try {
    if (session != nullptr) session->Save();
    return true;
  } catch (const ArchiveFailure&) {
    return false;
  }
}

// A page that says what went wrong by its status alone: the line ends around its blocks are no text.
bool IsBareError(const HttpResponse& response) {
  const bool isBlank = response.body.find_first_not_of(" \t\r\n") == std::string::npos;
  return response.status >= 400 && isBlank && !response.file;
}

std::string TimeText(std::chrono::milliseconds time) {
  const auto count = time.count();
  return count % 1000 == 0 ? std::to_string(count / 1000) + " s" : std::to_string(count) + " ms";
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

// Images and styles that are missing need no page.
bool WantsPage(const HttpRequest& request) {
  const std::string accepted = request.headers.Joined("Accept");
  return accepted.empty() || accepted == "*/*" || accepted.find("text/html") != std::string::npos;
}

HttpRequest RequestForOwnPage(const HttpRequest& about, const std::string& path) {
  HttpRequest own = about;
  own.method = "GET";
  own.path = path;
  own.rawQuery.clear();
  own.body.clear();
  return own;
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
      m_guardsForms(options.guardsForms),
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
  const bool isFile = file && !file->ends_with(kPageExtension);
  if (isFile || !file || !IsPage(*file)) {
    HttpResponse response = isFile ? m_files.Serve(request, *file) : ErrorResponse(404, request.id);
    if (response.status == 404 && HasOwnPage(request, 404)) return std::nullopt;
    if (isFile && m_site.server.compression)
      m_compressedFiles.CompressFile(*file, response, CodingFor(request));
    return response;
  }
  const bool known = request.method == "GET" || request.method == "HEAD" || request.method == "POST";
  if (known) return std::nullopt;
  HttpResponse response = ErrorResponse(405, request.id);
  response.headers.Set("Allow", "GET, HEAD, POST");
  return response;
}

HttpResponse SiteHost::AnswerPage(HttpRequest request, ClientLink& link) {
  const std::string id = request.id;
  const RequestLogScope scope(id);
  if (m_guardsForms) {
    const std::string foreign = ForeignOrigin(request, m_site.forms.origins);
    if (!foreign.empty())
      return RefusedForm(request, foreign,
                         "Where that is meant, name the other site in [forms] origins of site.toml.");
  }
  // A page that somebody else's page asks for keeps its length: it may tell of what is in it.
  const bool isOwn = m_site.server.compression && IsOwnOrigin(request);
  const auto coding = isOwn ? CodingFor(request) : std::nullopt;
  PageRequest page;
  const std::string refused = ReadPageRequest(std::move(request), m_site.server.refuseParameters, page);
  if (!refused.empty()) {
    WriteLog(LogLevel::Info, "Refused: " + refused);
    return ErrorResponse(400, id, refused);
  }
  PageAnswer answer = RunPage(std::move(page), &link);
  if (m_site.server.compression && !link.IsFlushed())
    CompressPage(answer.response, answer.holdsSecret ? std::nullopt : coding);
  return std::move(answer.response);
}

ScriptEngine& SiteHost::EngineOfThread() {
  thread_local std::unique_ptr<ScriptEngine> engine;
  if (engine == nullptr) {
    ScriptEngine::Options options;
    options.siteRoot = m_site.root;
    options.heapBytes = m_site.server.maxHeap;
    if (m_site.mode == SiteConfiguration::Mode::Production) options.recheck = kRecheckInProduction;
    options.constants = PublicEnumerations();
    options.functions = PageFunctions();
    options.tools = PageTools();
    options.toolFunctions =
        PageToolFunctions(m_site.fetch, {[] { return engineOfThread->Place(); }, &TimeLeftOfPage});
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
  options.timeLeft = &TimeLeftOfPage;
  auto session = std::make_shared<Session>(m_sessions, CookieOf(request.http, kSessionCookie), options);
  if (directives.lcid) session->SetPageLCID(*directives.lcid);
  return session;
}

PageAnswer SiteHost::FailedPage(const std::string& requestId, ScriptFailure failure, int status) const {
  WriteLog(LogLevel::Error, Describe(failure));
  if (m_site.mode == SiteConfiguration::Mode::Production) {
    return {ErrorResponse(status, requestId), std::move(failure)};
  }
  const std::string source = failure.line > 0 ? m_pages.Read(failure.file).value_or("") : "";
  return {ErrorResponse(status, requestId, Describe(failure), SourceExcerpt(source, failure.line)),
          std::move(failure)};
}

// A page that did its work, but what it has left in its session is lost, or whose visitor can't be told.
PageAnswer SiteHost::WithoutSession(const std::string& requestId, const std::string& page,
                                    const std::string& reason) const {
  ScriptFailure failure;
  failure.message = failure.description = "The session can't be asked for: " + reason;
  failure.file = page;
  failure.number = kHostFailure;
  failure.source = "Session";
  return FailedPage(requestId, std::move(failure), kNoSession);
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
  const varnel::Long pageLcid = directives.lcid.value_or(m_site.lcid);
  if (!objects.session) objects.absentSession = std::make_shared<AbsentSession>(pageLcid);
  objects.application = std::make_shared<Application>(m_application, &TimeLeftOfPage);
  objects.response = std::make_shared<Response>(std::move(responseOptions));
  objects.server = std::make_shared<Server>(ServerOptionsFor(*request, engine));
  objects.request = std::make_shared<Request>(
      request, [session = objects.session, pageLcid] { return session ? session->LCID() : pageLcid; });
  const auto session = objects.session;
  auto context = std::make_shared<ObjectContext>(
      std::move(objects), [this](varnel::StringView progID) { return m_platform.CreateObject(progID); });
  if (m_site.forms.token && session)
    context->SetFormFields([session] { return FormTokenField(session->FormToken()); });
  return context;
}

bool SiteHost::AsksForToken(const PageRequest& request, const PageDirectives& directives) const {
  return m_guardsForms && m_site.forms.token && directives.formToken && IsUnsafeMethod(request.http.method);
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

bool SiteHost::HasOwnPage(const HttpRequest& request, int status) const {
  const bool isSafe = !IsUnsafeMethod(request.method);
  return isSafe && WantsPage(request) && IsPage(kErrorPages + std::to_string(status) + kPageExtension);
}

// The answer of one of the site's pages to a request that it isn't the page of; nothing where there is no such page,
// and where it fails itself.
std::optional<HttpResponse> SiteHost::RunOwnPage(const std::string& page, int status,
                                                 const HttpRequest& about, std::vector<FormField> variables) {
  if (page.empty() || !IsPage(page)) return std::nullopt;
  const auto own = std::make_shared<PageRequest>();
  own->http = RequestForOwnPage(about, m_site.root + "/" + page);
  own->serverVariables = std::move(variables);
  Ending ending;
  PageAnswer answer =
      RunGuarded(own, page, nullptr, ending, std::min(kMostForErrorPage, m_site.server.scriptTimeout));
  if (answer.failure || ending.IsEarly()) return std::nullopt;
  answer.response.status = status;
  answer.response.reason.clear();
  return std::move(answer.response);
}

// The site's own page for the status of `plain` where there is one, else `plain`. What is told to it can't be
// sent by a visitor, whose headers are called HTTP_....
HttpResponse SiteHost::ErrorAnswer(const HttpRequest& about, HttpResponse plain) {
  const std::string status = std::to_string(plain.status);
  auto own = RunOwnPage(kErrorPages + status + kPageExtension, plain.status, about,
                        {{"ERROR_STATUS", status}, {"ERROR_PATH", about.path}, {"ERROR_ID", about.id}});
  if (!own) return plain;
  // A session that the failed page began.
  if (!own->headers.Find("Set-Cookie"))
    for (const HeaderList::Field& field : plain.headers)
      if (EqualsIgnoreCase(field.name, "Set-Cookie")) own->headers.Add(field.name, field.value);
  return std::move(*own);
}

// The site's own page for it where there is one: told by the server variable REFUSED_LIST where the list
// begins.
HttpResponse SiteHost::RefusedList(const PageRequest& request) {
  const std::string first = FirstPageLink(request.http.path, request.query);
  if (auto own = RunOwnPage(m_site.lists.refusedPage, 400, request.http, {{"REFUSED_LIST", first}}))
    return std::move(*own);
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

std::string SiteHost::HintOfLimit(const PageResult& result) const {
  if (result.outcome == PageResult::Outcome::TimedOut) {
    return "It may run for " + TimeText(m_site.server.scriptTimeout) +
           ": script_timeout of [server] in site.toml, or Server.ScriptTimeout for this page.";
  }
  if (result.outcome == PageResult::Outcome::OutOfMemory) {
    return "Its script may use " + std::to_string(m_site.server.maxHeap >> 20) +
           " MB: max_heap of [server] in site.toml.";
  }
  if (result.failure.number == provider_error::kTimeout) {
    return "A statement may run for " + TimeText(m_site.server.statementTimeout) +
           ": statement_timeout of [server] in site.toml, or a shorter CommandTimeout. An index may serve "
           "it.";
  }
  return {};
}

// The visitor may be innocent, and his form only old; `cure` is for who develops the site.
HttpResponse SiteHost::RefusedForm(const HttpRequest& request, const std::string& reason,
                                   const std::string& cure) {
  WriteLog(LogLevel::Info, "Refused: " + reason);
  std::string detail = "This form is out of date, or it comes from another site. Please load its page again.";
  if (m_site.mode == SiteConfiguration::Mode::Development)
    detail += " (For developers: " + reason + ". " + cure + ")";
  return ErrorAnswer(request, ErrorResponse(403, request.id, detail));
}

PageAnswer SiteHost::RunPage(PageRequest request, ClientLink* link) {
  const std::string id = request.http.id;
  const std::string page = FileOf(request.http.path).value_or("");
  if (!IsPage(page)) return {ErrorAnswer(request.http, ErrorResponse(404, id)), std::nullopt, true};

  const auto asked = std::make_shared<PageRequest>(std::move(request));
  Ending ending;
  PageAnswer answer = RunGuarded(asked, page, link, ending, m_site.server.scriptTimeout);
  if (ending.wait.count() > 0) return {TooManySessions(id, ending.wait), std::nullopt};
  if (ending.refusedForm) {
    answer.response = RefusedForm(asked->http, "the post bears no form token of its session ([forms] token)",
                                  "A form writes it: <input type=\"hidden\" name=\"FormToken\" "
                                  "value=\"<%: FormToken() %>\">.");
    return answer;
  }
  if (ending.refusedList) {
    WriteLog(LogLevel::Info, "Refused: " + *ending.refusedList);
    answer.response = RefusedList(*asked);
    return answer;
  }
  // While it is developed, a page's failure is shown with its place.
  const bool isFlushed = link != nullptr && link->IsFlushed();
  const bool isShown = m_site.mode == SiteConfiguration::Mode::Development;
  const bool wantsOwnPage = answer.failure ? !isShown : IsBareError(answer.response);
  if (wantsOwnPage && !isFlushed && !page.starts_with(kErrorPages))
    answer.response = ErrorAnswer(asked->http, std::move(answer.response));
  return answer;
}

PageAnswer SiteHost::RunGuarded(const std::shared_ptr<PageRequest>& request, const std::string& page,
                                ClientLink* link, Ending& ending, std::chrono::milliseconds timeLimit) {
  const std::string id = request->http.id;
  ScriptEngine& engine = EngineOfThread();
  PageDirectives directives;
  if (auto failure = engine.Prepare(page, directives)) return FailedPage(id, std::move(*failure));

  // These two outlive the context.
  ListGuard lists = GuardFor(page, engine);
  ListAdvice advice(
      m_lists, [&engine] { return PlaceText(engine.Place()); }, m_advises, m_onList);
  const auto context = MakeContext(request, directives, engine, link, ending);
  if (m_links != SiteConfiguration::Links::Any) context->SetStateGuard(&lists);
  if (m_advises || m_onList) context->SetListWatcher(&advice);
  if (AsksForToken(*request, directives)) {
    Session* session = context->Objects().session.get();
    try {
      ending.refusedForm = !BearsFormToken(*request, session, m_platform.CodePages());
    } catch (const varnel::Error&) {
      return WithoutSession(id, page, session->Failure());
    }
    if (ending.refusedForm) return {};
  }
  RequestScope scope(id, context, m_platform.Database());
  Response& response = *scope.Objects().response;
  PageResult result = engine.RunPage(page, NamedIntrinsics(scope.Objects()), scope, timeLimit);
  ending.refusedList = lists.Refusal();
  // Before the answer goes: whoever has that finds what it tells of, whatever becomes of this process.
  const auto& session = scope.Objects().session;
  const bool isStored = IsStored(session.get());

  const bool completed =
      result.outcome == PageResult::Outcome::Finished || result.outcome == PageResult::Outcome::Ended;
  if (completed && !isStored) return WithoutSession(id, page, session->Failure());
  if (completed && !response.IsOverfull()) {
    PageAnswer answer{response.Take(), std::nullopt, false,
                      session != nullptr && session->HasShownFormToken()};
    TellWarnings(advice.Warnings(), answer.response);
    return answer;
  }
  if (result.failure.hint.empty()) result.failure.hint = HintOfLimit(result);
  const int status = session != nullptr && !session->Failure().empty() ? kNoSession : 500;
  PageAnswer failed = FailedPage(id, completed ? OverfullPage(page) : std::move(result.failure), status);
  TellWarnings(advice.Warnings(), failed.response);
  // A session that the page began lives on, so its visitor must learn of it.
  if (session != nullptr) session->CompleteHead(failed.response);
  return failed;
}

}  // namespace hostlinux
