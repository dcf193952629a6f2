// One site, put together: answers its requests.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "host-linux/advice/ListAdvice.h"
#include "host-linux/application/LinuxPlatform.h"
#include "host-linux/database/AdoDatabase.h"
#include "host-linux/guard/ListGuard.h"
#include "host-linux/intrinsics/Application.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/intrinsics/PageRequest.h"
#include "host-linux/intrinsics/SessionStore.h"
#include "host-linux/script/ScriptEngine.h"
#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/web/AddressLimit.h"
#include "host-linux/web/Compression.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/StaticFiles.h"

namespace hostlinux {

// What became of a page, beside its response.
struct PageAnswer {
  HttpResponse response;
  std::optional<ScriptFailure> failure;
  bool isMissing = false;    // there is no such page
  bool holdsSecret = false;  // the text may hold the session's form token
};

// Safe from all threads; a page runs on the thread that asks for it. A thread that has run a page holds an
// engine until it ends, so every such thread ends before the SiteHost does.
class SiteHost {
 public:
  struct Options {
    // Called for each SQL text that was run; may be left empty.
    std::function<void(const SqlTraceEntry&)> onStatement;
    // Further classes for Server.CreateObject, of a program that embeds the host; may be left empty.
    ComponentFactory ownComponents;
    // A debugger may look into the pages by this; null: none. Pages then run on one thread.
    Inspection* inspection = nullptr;
    // What a link brings a list is judged by the site's [lists]; false: it is used as it stands.
    bool guardsLists = true;
    // Where sessions are kept beside memory; null: they end with the host.
    std::shared_ptr<ISessionArchive> sessions = nullptr;
    // Requests that may change something are judged by the site's [forms]; false: each is taken.
    bool guardsForms = true;
    // In development mode lists are looked at, and what they get wrong is told; false: nothing is said of them.
    bool advises = true;
    // Called with each list that a page opens, and the place where it does; may be left empty.
    std::function<void(const std::string& place, const varnel::host::ListInUse& list)> onList = {};
    // Every connection is opened for reading only, whatever its text says.
    bool readsOnly = false;
    // A visitor begins only so many sessions as the site's [limits] say; false: as many as he likes.
    bool limitsVisitors = true;
  };

  // Reads messages, sets the user's locale and makes this host the library's platform. Raises
  // ConfigurationError where the site is incomplete.
  SiteHost(SiteConfiguration site, ScriptRuntime& runtime, Options options);
  ~SiteHost();
  SiteHost(const SiteHost&) = delete;
  SiteHost& operator=(const SiteHost&) = delete;

  // Answers what needs no page: files, redirections to the site, what isn't there. Nothing: it is a page.
  std::optional<HttpResponse> AnswerQuickly(const HttpRequest& request) const;

  // Runs the page of `request`. A failed page is answered with 500, and logged.
  HttpResponse AnswerPage(HttpRequest request, ClientLink& link);

  // Runs the page of a request that was taken apart before. `link` may be null. A list that refuses its link
  // is answered with 400, and logged.
  PageAnswer RunPage(PageRequest request, ClientLink* link);

  // Handles what the debugger has sent, on the thread that runs the pages, between two of them.
  void Inspect() { EngineOfThread().Inspect(); }

  // What needn't hold up a request: to be called about once a second, from any thread.
  void TidySessions() { m_sessions->Tidy(); }

  const SiteConfiguration& Site() const { return m_site; }

 private:
  // Pages whose file was seen less than a moment ago; empty in development mode. Safe from all threads.
  class KnownPages {
   public:
    bool Holds(const std::string& file) const;
    void Add(const std::string& file);

   private:
    mutable std::mutex m_mutex;
    std::unordered_map<std::string, std::chrono::steady_clock::time_point> m_seen;
  };

  // Why the host has ended a page before its end.
  struct Ending {
    std::optional<std::string> refusedList;  // a list that refused its link: the reason
    std::chrono::seconds wait{0};            // too many sessions: when the visitor may begin one again
    bool refusedForm = false;                // a post without its session's token, before the page began

    bool IsEarly() const { return refusedList.has_value() || wait.count() > 0 || refusedForm; }
  };

  // The file below the pages folder that a path of the site names; nothing for a path outside of the site.
  std::optional<std::string> FileOf(const std::string& path) const;
  bool IsPage(const std::string& file) const;
  ScriptEngine& EngineOfThread();
  std::function<void()> SessionGate(const HttpRequest& request, ScriptEngine& engine, Ending& ending);
  std::shared_ptr<Session> SessionOf(const PageRequest& request, const PageDirectives& directives,
                                     std::function<void()> beforeBegin);
  Server::Options ServerOptionsFor(const PageRequest& request, ScriptEngine& engine) const;
  std::shared_ptr<ObjectContext> MakeContext(const std::shared_ptr<PageRequest>& request,
                                             const PageDirectives& directives, ScriptEngine& engine,
                                             ClientLink* link, Ending& ending);
  bool AsksForToken(const PageRequest& request, const PageDirectives& directives) const;
  ListGuard GuardFor(const std::string& page, ScriptEngine& engine) const;
  PageAnswer RunGuarded(const std::shared_ptr<PageRequest>& request, const std::string& page,
                        ClientLink* link, Ending& ending, std::chrono::milliseconds timeLimit);
  // Tells of what the page's lists get wrong: the log once, and the browser below the page.
  void TellWarnings(const std::vector<ListWarning>& warnings, HttpResponse& response);
  // Which setting has stopped a page.
  std::string HintOfLimit(const PageResult& result) const;
  bool HasOwnPage(const HttpRequest& request, int status) const;
  std::optional<HttpResponse> RunOwnPage(const std::string& page, int status, const HttpRequest& about,
                                         std::vector<FormField> variables);
  HttpResponse ErrorAnswer(const HttpRequest& about, HttpResponse plain);
  HttpResponse RefusedList(const PageRequest& request);
  HttpResponse RefusedForm(const HttpRequest& request, const std::string& reason, const std::string& cure);
  PageAnswer FailedPage(const std::string& requestId, ScriptFailure failure, int status = 500) const;
  PageAnswer WithoutSession(const std::string& requestId, const std::string& page,
                            const std::string& reason) const;

  const SiteConfiguration m_site;
  ScriptRuntime& m_runtime;
  Inspection* const m_inspection;
  DiskPageFiles m_pages;
  StaticFiles m_files;
  std::shared_ptr<ApplicationState> m_application;
  std::shared_ptr<SessionStore> m_sessions;
  const std::unique_ptr<AddressLimit> m_newSessions;  // null: no limit
  LinuxPlatform m_platform;
  const bool m_guardsForms;
  mutable CompressedFiles m_compressedFiles;
  const SiteConfiguration::Links m_links;
  const std::vector<SealKey> m_sealKeys;  // only for sealed links
  mutable KnownPages m_knownPages;
  const bool m_advises;
  const std::function<void(const std::string&, const varnel::host::ListInUse&)> m_onList;
  ListMemory m_lists;
};

}  // namespace hostlinux
