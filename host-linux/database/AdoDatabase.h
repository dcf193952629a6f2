// What all database connections of a process share: where a site's files lie, limits, the hooks for tracing
// and warnings, and the sessions that wait for their next user.
#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>

#include "host-linux/database/SqlTrace.h"
#include "host-linux/database/provider/Engine.h"

namespace hostlinux {

// The hooks are called on the thread that runs the statement.
struct AdoOptions {
  Engines engines;                                // that connection strings may name
  std::filesystem::path folder;                   // where relative file names begin: the site
  std::chrono::milliseconds statementTimeout{0};  // caps every CommandTimeout; 0: no cap
  EngineLimits limits;
  bool readsOnly = false;  // every connection, whatever its text says
  TimeLeft timeLeft;  // of the page that runs on the calling thread; no statement outlives it. May be empty
  // Also for a statement that failed; may be empty. See SqlTrace.
  std::function<void(const SqlTraceEntry&)> onStatement;
  // A sentence on why a connection string may be empty; may be left empty.
  std::function<varnel::String()> whyEmpty;
  // A sentence on where a connection string stands that can't be opened, or nothing; may be left empty.
  std::function<varnel::String(const varnel::String&)> whereFrom;
  std::function<void(const varnel::String&)> onWarning;  // development mode: texts for the log; may be empty
};

class AdoDatabase;

// A session in use. Its last owner gives it back, or the end of the request that took it.
class SessionLease {
 public:
  SessionLease(std::weak_ptr<AdoDatabase> database, varnel::String key, std::unique_ptr<ISession> session,
               std::thread::id taker);
  SessionLease(const SessionLease&) = delete;
  SessionLease& operator=(const SessionLease&) = delete;
  ~SessionLease();

  bool IsOpen() const { return m_session != nullptr; }
  // Only while it is open.
  ISession& Session() { return *m_session; }
  // Gives the session back. A second call does nothing.
  void End();

 private:
  std::weak_ptr<AdoDatabase> m_database;
  varnel::String m_key;
  std::unique_ptr<ISession> m_session;
  std::thread::id m_taker;
};

// How a text is run.
struct StatementOptions {
  varnel::Long maxRecords = 0;                   // 0: all of them
  std::size_t batchRows = 0;                     // of a query, read at once; 0: all of them
  const varnel::host::PageSpec* page = nullptr;  // the text as data, where it reads a page
  bool countsOnly = false;                       // one row with the number of rows
  bool estimatesOnly = false;                    // one row with about that number, or none
};

// Made once by the wiring and shared; safe on any thread. A session goes back to the thread that gives it
// back, so that a thread finds its own again. A thread may have 100 sessions in use at once, and 8 wait for
// its next request.
class AdoDatabase : public std::enable_shared_from_this<AdoDatabase> {
 public:
  static std::shared_ptr<AdoDatabase> Make(AdoOptions options);

  // A session for the connection string, waiting or new; opening one takes `timeoutSeconds` at most (0: only
  // the cap). Raises ProviderFailure, also where too many are in use.
  std::shared_ptr<SessionLease> Lease(const varnel::String& connectionString, bool readOnly,
                                      varnel::Long timeoutSeconds);

  // Runs a text with the values of its parameters, within the limits (`timeoutSeconds` 0: only the cap; they hold for each batch of rows anew)
  // and reports it to the hooks.
  StatementResult Run(ISession& session, const varnel::String& sql,
                      const varnel::host::StatementParameters& parameters, varnel::Long timeoutSeconds,
                      const StatementOptions& options);

  // Ends what this thread has in use: the request that took it is over, whatever still refers to it.
  void EndRequest();

  // True if somebody wants to see each statement.
  bool IsTraced() const { return m_trace != nullptr; }

  // Sessions that wait, of all threads.
  std::size_t WaitingSessions() const;

 private:
  friend class SessionLease;
  struct Waiting {
    varnel::String key;
    std::unique_ptr<ISession> session;
  };
  struct ThreadSessions {
    std::list<Waiting> waiting;  // the last used one first
    std::unordered_set<SessionLease*> inUse;
  };

  explicit AdoDatabase(AdoOptions options);
  void RefuseTooMany();
  void Forget(std::thread::id taker, SessionLease* lease);
  void GiveBack(const varnel::String& key, std::unique_ptr<ISession> session);
  std::unique_ptr<ISession> TakeWaiting(const varnel::String& key);
  std::unique_ptr<ISession> OpenSession(const varnel::String& connectionString, bool readOnly,
                                        varnel::Long timeoutSeconds) const;
  std::chrono::milliseconds Timeout(varnel::Long seconds) const;
  void WarnOfLineBreaks(const varnel::String& sql);

  const AdoOptions m_options;
  const std::shared_ptr<SqlTrace> m_trace;  // null without a hook
  mutable std::mutex m_mutex;               // guards the two below
  std::map<std::thread::id, ThreadSessions> m_threads;
  std::unordered_set<varnel::String> m_warned;
};

}  // namespace hostlinux
