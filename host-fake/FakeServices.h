// The sibling components of a site, in memory: log, message manager, user, configuration.
#pragma once

#include <functional>
#include <map>

#include "host-fake/Fault.h"
#include "host-fake/Trace.h"
#include "varnel/automation/Object.h"
#include "varnel/host/ILog.h"

namespace hostfake {

struct LogEntry {
  varnel::String source;
  varnel::String text;
  varnel::Long level = 0;
  varnel::Variant extra;
  bool operator==(const LogEntry&) const = default;
};

// "Ostrand.Log". One object stands for all that are created; the host's trace shows each creation.
class FakeLog : public varnel::Object, public varnel::host::ILog {
 public:
  explicit FakeLog(TracePtr trace) : m_trace(std::move(trace)) {}
  const varnel::ClassInfo& Class() const override;

  const std::vector<LogEntry>& Entries() const { return m_entries; }
  void Clear() { m_entries.clear(); }
  // Every further entry fails, and isn't kept.
  void Fail(varnel::ErrInfo failure) { m_fault = std::move(failure); }
  // Called before each entry is taken; may raise.
  std::function<void(const LogEntry&)> onWriteEntry;

  void WriteEntry(varnel::String& ioSource, varnel::String& ioText, varnel::Long& ioLevel,
                  varnel::Variant& ioExtra) override;

 private:
  TracePtr m_trace;
  std::vector<LogEntry> m_entries;
  Fault m_fault;
};

// The texts of the application by key and language. A text that isn't there fails with 80004005.
class FakeMessageManager : public varnel::Object {
 public:
  explicit FakeMessageManager(TracePtr trace) : m_trace(std::move(trace)) {}
  const varnel::ClassInfo& Class() const override;

  void SetMessage(varnel::StringView key, varnel::StringView language, varnel::StringView text);
  // Every further getMessage fails.
  void Fail(varnel::ErrInfo failure) { m_fault = std::move(failure); }

  varnel::String getMessage(const varnel::String& key, const varnel::String& language);

 private:
  TracePtr m_trace;
  std::map<std::pair<varnel::String, varnel::String>, varnel::String> m_texts;
  Fault m_fault;
};

// "Tolvane.User". One object stands for all that are created.
class FakeUser : public varnel::Object {
 public:
  explicit FakeUser(TracePtr trace) : m_trace(std::move(trace)) {}
  const varnel::ClassInfo& Class() const override;

  void SetLanguageID(varnel::Variant languageID) { m_languageID = std::move(languageID); }
  // Every further BindAs fails.
  void FailBindAs(varnel::ErrInfo failure) { m_fault = std::move(failure); }

  void BindAs(const varnel::Variant& user, const varnel::Variant& account, const varnel::Variant& password);
  varnel::Variant LanguageID();

 private:
  TracePtr m_trace;
  varnel::Variant m_languageID = varnel::Long{1033};
  Fault m_fault;
};

// "Ostrand.Configuration". One object stands for all that are created; the host's trace shows each creation.
class FakeConfiguration : public varnel::Object {
 public:
  explicit FakeConfiguration(TracePtr trace) : m_trace(std::move(trace)) {}
  const varnel::ClassInfo& Class() const override;

  void SetConnectionString(varnel::StringView section, varnel::StringView text);
  // Every further call of that operation fails.
  void FailPrepare(varnel::ErrInfo failure) { m_prepareFault = std::move(failure); }
  void FailGet(varnel::ErrInfo failure) { m_getFault = std::move(failure); }

  void PrepareConfiguration(varnel::Long& ioValue);
  // Empty for a section that isn't set.
  varnel::String GetConfigurationConnectionString(const varnel::String& section);

 private:
  TracePtr m_trace;
  std::map<varnel::String, varnel::String> m_texts;
  Fault m_prepareFault;
  Fault m_getFault;
};

}  // namespace hostfake
