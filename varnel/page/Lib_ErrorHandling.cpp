#include "varnel/page/Lib_ErrorHandling.h"

#include "varnel/automation/Convert.h"
#include "varnel/host/ILog.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Lib_General.h"

namespace varnel {

namespace {

// Only one log entry is made at a time on a thread: a log that can't be created reports that through the log.
class LogEntryGuard {
 public:
  LogEntryGuard() : m_entered(host::Platform().EnterLog()) {}
  ~LogEntryGuard() {
    if (m_entered) host::Platform().LeaveLog();
  }
  LogEntryGuard(const LogEntryGuard&) = delete;
  LogEntryGuard& operator=(const LogEntryGuard&) = delete;
  bool Entered() const { return m_entered; }

 private:
  bool m_entered;
};

std::shared_ptr<host::ILog> CreateLog() { return CastObject<host::ILog>(Gen_GetComponent(u"Ostrand.Log")); }

void WriteEntry(host::ILog& log, String source, String text, Long level) {
  Variant extra;
  log.WriteEntry(source, text, level, extra);
}

void LogError(const ErrInfo& current, Long iLevel, const String& iMethod, const Variant& iInfo) {
  const String text = Err_FormatText(current.Description, current.Number, iMethod, iInfo);
  const auto log = CreateLog();
  if (log == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  WriteEntry(*log, current.Source, text, iLevel);
}

void LogNote(const String& iMethod, const Variant& iInfo) {
  const String text = Err_FormatText(u"Not an actual error", 0, iMethod, iInfo);
  std::shared_ptr<host::ILog> log;
  try {
    log = CreateLog();
  } catch (const std::exception&) {
    return;
  }
  if (log != nullptr) WriteEntry(*log, iMethod, text, 1);
}

}  // namespace

String Err_FormatText(const String& iDesc, Long iNumber, const String& iMethod, const Variant& iInfo) {
  String text = u"\r\nERROR 0x" + HexText(iNumber) + u"\r\n";
  text += u" METHOD: " + iMethod + u"\r\n";
  text += u" DESC: " + iDesc + u".\r\n";
  if (!iInfo.IsMissing()) text += u" INFO: " + ToText(iInfo) + u".\r\n";
  return text;
}

ErrInfo Err_Capture(const String& iMethod, const Variant& iInfo) {
  ErrInfo e = CurrentError();
  e.Description = Err_FormatText(e.Description, e.Number, iMethod, iInfo);
  return e;
}

void Err_LogCurrent(Long iLevel, const String& iMethod, const Variant& iInfo) {
  const LogEntryGuard guard;
  if (!guard.Entered()) return;
  const ErrInfo current = CurrentError();
  if (current.Number != 0) {
    LogError(current, iLevel, iMethod, iInfo);
  } else {
    LogNote(iMethod, iInfo);
  }
}

void Err_ReportAndRaise(const String& iMethod, const Variant& iInfo) {
  const ErrInfo e = Err_Capture(iMethod, iInfo);
  if (e.Number == 0) return;
  try {
    throw Error(e);  // makes the formatted error the current one
  } catch (const Error&) {
    try {
      Err_LogCurrent(0, iMethod, iInfo);
    } catch (...) {  // a failing log never hides the error that it should have told
    }
  }
  throw Error(e);
}

}  // namespace varnel
