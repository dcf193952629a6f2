#include "host-linux/database/SqlTrace.h"

namespace hostlinux {
namespace {

using Clock = std::chrono::steady_clock;

// Adds the time until it goes.
class Stopwatch {
 public:
  explicit Stopwatch(SqlTraceEntry& entry) : m_entry(entry) {}
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;
  ~Stopwatch() {
    m_entry.time += std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - m_start);
  }

 private:
  SqlTraceEntry& m_entry;
  Clock::time_point m_start = Clock::now();
};

}  // namespace

// Counts what is read of a statement; its end is the reader's.
class TracedReader : public IRowReader {
 public:
  TracedReader(std::unique_ptr<IRowReader> reader, std::shared_ptr<SqlTrace> trace,
               std::shared_ptr<SqlTrace::Place> place)
      : m_reader(std::move(reader)), m_trace(std::move(trace)), m_place(std::move(place)) {}
  TracedReader(const TracedReader&) = delete;
  TracedReader& operator=(const TracedReader&) = delete;
  ~TracedReader() override {
    m_reader = nullptr;
    m_trace->End(*m_place);
  }

  bool HasMore() const override { return m_reader->HasMore(); }

  RowStore Read(std::size_t held) override {
    const Stopwatch stopwatch(m_place->entry);
    RowStore rows = m_reader->Read(held);
    m_place->entry.rows += rows.Rows();
    return rows;
  }

  std::optional<RowCount> Count() override {
    const Stopwatch stopwatch(m_place->entry);
    std::optional<RowCount> count = m_reader->Count();
    if (count) m_place->entry.sent += u"; " + count->sent;
    return count;
  }

 private:
  std::unique_ptr<IRowReader> m_reader;
  std::shared_ptr<SqlTrace> m_trace;
  std::shared_ptr<SqlTrace::Place> m_place;
};

StatementResult SqlTrace::Run(const std::shared_ptr<SqlTrace>& trace, ISession& session,
                              const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                              const StatementLimits& limits) {
  const std::shared_ptr<Place> place = trace->Begin(sql);
  StatementResult result;
  try {
    const Stopwatch stopwatch(place->entry);
    result = session.Run(sql, parameters, limits);
  } catch (...) {
    trace->End(*place);
    throw;
  }
  place->entry.sent = result.sent;
  place->entry.rows = result.rows.Rows();
  if (result.rest == nullptr) {
    trace->End(*place);
  } else {
    result.rest = std::make_unique<TracedReader>(std::move(result.rest), trace, place);
  }
  return result;
}

std::shared_ptr<SqlTrace::Place> SqlTrace::Begin(const varnel::String& sql) {
  const auto place = std::make_shared<Place>();
  place->entry.sql = sql;
  const std::lock_guard lock(m_mutex);
  m_places.push_back(place);
  return place;
}

void SqlTrace::End(Place& place) {
  const std::lock_guard lock(m_mutex);
  place.isDone = true;
  for (; !m_places.empty() && m_places.front()->isDone; m_places.pop_front()) m_hook(m_places.front()->entry);
}

}  // namespace hostlinux
