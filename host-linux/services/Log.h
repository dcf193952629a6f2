// The process's log: set up once from the site's configuration; every line of a request bears its id.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host-linux/services/SiteConfiguration.h"
#include "varnel/automation/Object.h"
#include "varnel/host/ILog.h"

namespace hostlinux {

enum class LogLevel { Debug, Info, Warning, Error };

// Starts the log. Without a file it goes to standard error.
void StartLog(const SiteConfiguration& site);
// Writes what is waiting and ends the log.
void StopLog();

// One line. Line breaks inside `text` are written as \r and \n, so that an entry stays one line; other
// control characters, U+007F to U+009F among them, as a question mark.
void WriteLog(LogLevel level, std::string_view text);

// While it lives, all lines of the process are kept by it too, whatever the level of the log; one at a time.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // What was written since the last call, the oldest first: "error: [id] list.asp, line 3: ...". No more than
  // 10,000 lines are kept.
  std::vector<std::string> TakeLines();
};

// While it lives, lines written on this thread bear `id`.
class RequestLogScope {
 public:
  explicit RequestLogScope(std::string id);
  ~RequestLogScope();
  RequestLogScope(const RequestLogScope&) = delete;
  RequestLogScope& operator=(const RequestLogScope&) = delete;

 private:
  std::string m_previous;
};

// "Ostrand.Log": the library's way to the log. Level 0 is written as an error, any other as information.
class LogComponent : public varnel::Object, public varnel::host::ILog {
 public:
  const varnel::ClassInfo& Class() const override;
  void WriteEntry(varnel::String& ioSource, varnel::String& ioText, varnel::Long& ioLevel,
                  varnel::Variant& ioExtra) override;
};

}  // namespace hostlinux
