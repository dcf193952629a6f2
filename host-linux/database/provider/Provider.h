// What the ADO objects ask of a database engine. One folder per engine implements it, with the same file
// names; nothing above knows which one it is.
#pragma once

#include <chrono>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host-linux/database/provider/ConnectionString.h"
#include "host-linux/database/provider/RowStore.h"
#include "varnel/host/Paging.h"

namespace hostlinux {

// Error numbers of providers, as scripts know them.
namespace provider_error {
inline constexpr varnel::Long kFail = static_cast<varnel::Long>(0x80004005);
inline constexpr varnel::Long kSyntax = static_cast<varnel::Long>(0x80040E14);
inline constexpr varnel::Long kNoValue = static_cast<varnel::Long>(0x80040E10);
inline constexpr varnel::Long kNoTable = static_cast<varnel::Long>(0x80040E37);
inline constexpr varnel::Long kIntegrity = static_cast<varnel::Long>(0x80040E2F);
inline constexpr varnel::Long kTimeout = static_cast<varnel::Long>(0x80040E31);
inline constexpr varnel::Long kPermission = static_cast<varnel::Long>(0x80040E09);
inline constexpr varnel::Long kNoCommand = static_cast<varnel::Long>(0x80040E0C);
}  // namespace provider_error

// Type codes of columns.
namespace ado_type {
inline constexpr varnel::Integer kInteger = 3;
inline constexpr varnel::Integer kDouble = 5;
inline constexpr varnel::Integer kDate = 7;
inline constexpr varnel::Integer kBstr = 8;
inline constexpr varnel::Integer kBoolean = 11;
inline constexpr varnel::Integer kBigInt = 20;
inline constexpr varnel::Integer kTimeStamp = 135;
inline constexpr varnel::Integer kVarWChar = 202;
inline constexpr varnel::Integer kLongVarWChar = 203;
inline constexpr varnel::Integer kLongVarBinary = 205;
}  // namespace ado_type

// Errors of the engine; the ADO objects put them among the connection's errors and raise the first.
class ProviderFailure : public std::exception {
 public:
  explicit ProviderFailure(varnel::host::ProviderError error)
      : ProviderFailure(std::vector{std::move(error)}) {}
  // One at least; the first is the one that is raised.
  explicit ProviderFailure(std::vector<varnel::host::ProviderError> errors)
      : m_errors(std::move(errors)), m_what(varnel::ToUtf8(m_errors.front().Description)) {}
  const varnel::host::ProviderError& Error() const { return m_errors.front(); }
  const std::vector<varnel::host::ProviderError>& Errors() const { return m_errors; }
  const char* what() const noexcept override { return m_what.c_str(); }

 private:
  std::vector<varnel::host::ProviderError> m_errors;
  std::string m_what;
};

struct ResultColumn {
  varnel::String name;
  varnel::Integer type = ado_type::kVarWChar;
  varnel::Long size = 0;  // declared length of a text, 0 for none
};

// Shared by all results of a statement.
using ResultColumns = std::shared_ptr<const std::vector<ResultColumn>>;

struct RowCount {
  varnel::Long rows = 0;
  varnel::String sent;  // the counting text as the engine got it, where it was asked for
};

// A query that has more rows to give. It runs until its last row is read or the reader goes. Everything
// raises ProviderFailure.
class IRowReader {
 public:
  virtual ~IRowReader() = default;
  virtual bool HasMore() const = 0;
  // The next batch: one row at least. Only while there are more; a failure is raised where its row would be,
  // and again each time. `held`: bytes of the result's rows that the caller keeps beside the batch, which
  // count for the limit of results.
  virtual RowStore Read(std::size_t held) = 0;
  // The number of all rows, with those that were read before, without reading them; none where the engine
  // can't tell it so.
  virtual std::optional<RowCount> Count() = 0;
};

struct StatementResult {
  ResultColumns columns;             // null for a statement that returns no rows
  RowStore rows;                     // all of them, or the first batch
  std::unique_ptr<IRowReader> rest;  // the others; null where there are none
  varnel::Long affected = -1;        // rows that it changed; -1 for a query
  varnel::String sent;               // the text as the engine got it, where it was asked for
};

// Bytes. What goes beyond fails with kFail, and nothing else does.
struct EngineLimits {
  std::size_t maxValue = 8 << 20;        // one value, and one row as it is stored
  std::size_t maxResult = 64 << 20;      // the rows of a result that are held at once
  std::size_t maxMemory = 64 << 20;      // what the engine holds for the connections of a thread
  std::size_t maxTemporary = 256 << 20;  // what it writes to temporary files for them
};

// What is left of the time of whoever runs on the calling thread; none where there is no limit.
using TimeLeft = std::function<std::optional<std::chrono::milliseconds>()>;

struct StatementLimits {
  varnel::Long maxRecords = 0;           // 0: all of them
  std::size_t batchRows = 0;             // of a query, read at once; 0: all of them
  std::chrono::milliseconds timeout{0};  // of each call: the run, a batch, a count; 0: none
  bool wantsSent = false;                // tell the text that the engine got
  // The text as data, where it reads a page; outlives the call. Its rows are read at once then.
  const varnel::host::PageSpec* page = nullptr;
  bool countsOnly = false;  // the number of the rows, as one row of one column, in place of the rows
  // About that number, from the engine's own notes; no row where it has none.
  bool estimatesOnly = false;
};

struct OpenOptions {
  std::filesystem::path folder;          // where relative file names begin
  bool readOnly = false;                 // may also come from the connection string
  std::chrono::milliseconds timeout{0};  // for opening; 0: none
  std::chrono::milliseconds longest{0};  // that any call of the session may take; 0: none
  EngineLimits limits;
  TimeLeft timeLeft;  // bounds every call of the session, with its waits for locks; may be empty
};

// One connection to an engine. Used by one thread at a time. Everything raises ProviderFailure.
class ISession {
 public:
  virtual ~ISession() = default;
  // Runs one statement, handed over in the library's SQL, and reads its rows, or the first batch. Each parameter of
  // the text takes its value from `parameters`, which never become a part of a text; one without a value is a
  // failure of kNoValue. Its result may outlive the session: what a query has still to give is read into memory before the session does
  // anything but reading, is recycled or goes.
  virtual StatementResult Run(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                              const StatementLimits& limits) = 0;
  virtual void Begin() = 0;
  virtual void Commit() = 0;
  virtual void Rollback() = 0;
  // Undoes what a user of the session may have left: true if another one may have it then.
  virtual bool Recycle() = 0;
  // True if what it was opened on is still there, and the same: asked before it gets its next user.
  virtual bool IsCurrent() = 0;
  // See varnel/host/KeptTexts.h. An engine that can't tell whether its data are the same keeps nothing.
  virtual bool KeepsTexts() const { return false; }
  virtual const varnel::String* KeptText(const varnel::String& /*key*/) { return nullptr; }
  virtual void KeepText(const varnel::String& /*key*/, const varnel::String& /*text*/) {}
};

class IProvider {
 public:
  virtual ~IProvider() = default;
  virtual std::unique_ptr<ISession> Open(const ConnectionString& connection, const OpenOptions& options) = 0;
};

}  // namespace hostlinux
