// The SQL texts that were run, for a hook.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// One SQL text that was run.
struct SqlTraceEntry {
  varnel::String sql;  // as it was handed over
  // As the engine got it, with "; " and the count of its rows behind; empty if it got nothing.
  varnel::String sent;
  std::size_t rows = 0;               // that were read
  std::chrono::microseconds time{0};  // in the engine: the run, all batches of rows, the count
};

// Hands over one entry for each text, in the order in which they were run: when its last row is read or
// nobody reads on, and all before it are handed over.
class SqlTrace {
 public:
  using Hook = std::function<void(const SqlTraceEntry&)>;
  explicit SqlTrace(Hook hook) : m_hook(std::move(hook)) {}

  // Runs `sql` and follows it to its end. Also a text that fails has an entry, without a sent text then.
  static StatementResult Run(const std::shared_ptr<SqlTrace>& trace, ISession& session,
                             const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                             const StatementLimits& limits);

 private:
  friend class TracedReader;
  struct Place {
    SqlTraceEntry entry;
    bool isDone = false;
  };

  std::shared_ptr<Place> Begin(const varnel::String& sql);
  void End(Place& place);

  Hook m_hook;
  std::mutex m_mutex;
  std::deque<std::shared_ptr<Place>> m_places;  // not handed over yet
};

}  // namespace hostlinux
