#include "host-fake/FakeServices.h"

#include "varnel/automation/Members.h"

namespace hostfake {

using varnel::ClassInfo;
using varnel::Long;
using varnel::Method;
using varnel::ReadOnly;
using varnel::String;
using varnel::Variant;

const ClassInfo& FakeLog::Class() const {
  static const ClassInfo info{u"Log", {Method<&FakeLog::WriteEntry>(u"WriteEntry")}};
  return info;
}

void FakeLog::WriteEntry(String& ioSource, String& ioText, Long& ioLevel, Variant& ioExtra) {
  m_trace->Add(u"Log", u"WriteEntry");
  const LogEntry entry{ioSource, ioText, ioLevel, ioExtra};
  if (onWriteEntry) onWriteEntry(entry);
  RaiseIf(m_fault);
  m_entries.push_back(entry);
}

const ClassInfo& FakeMessageManager::Class() const {
  static const ClassInfo info{u"MessageManager", {Method<&FakeMessageManager::getMessage>(u"getMessage")}};
  return info;
}

void FakeMessageManager::SetMessage(varnel::StringView key, varnel::StringView language,
                                    varnel::StringView text) {
  m_texts[{String(key), String(language)}] = text;
}

String FakeMessageManager::getMessage(const String& key, const String& language) {
  m_trace->Add(u"MessageManager", u"getMessage " + key + u", " + language);
  RaiseIf(m_fault);
  const auto found = m_texts.find({key, language});
  if (found == m_texts.end()) throw varnel::Error(Failure(kGeneralFailure, u"There is no such message"));
  return found->second;
}

const ClassInfo& FakeUser::Class() const {
  static const ClassInfo info{u"User",
                              {
                                  Method<&FakeUser::BindAs>(u"BindAs"),
                                  ReadOnly<&FakeUser::LanguageID>(u"LanguageID"),
                              }};
  return info;
}

void FakeUser::BindAs(const Variant& user, const Variant& account, const Variant& password) {
  m_trace->Add(u"User", u"BindAs " + varnel::ToText(user) + u", " + varnel::ToText(account) + u", " +
                            varnel::ToText(password));
  RaiseIf(m_fault);
}

Variant FakeUser::LanguageID() {
  m_trace->Add(u"User", u"LanguageID");
  return m_languageID;
}

const ClassInfo& FakeConfiguration::Class() const {
  using C = FakeConfiguration;
  static const ClassInfo info{
      u"Configuration",
      {
          Method<&C::PrepareConfiguration>(u"PrepareConfiguration"),
          Method<&C::GetConfigurationConnectionString>(u"GetConfigurationConnectionString"),
      }};
  return info;
}

void FakeConfiguration::SetConnectionString(varnel::StringView section, varnel::StringView text) {
  m_texts[String(section)] = text;
}

void FakeConfiguration::PrepareConfiguration(Long& ioValue) {
  m_trace->Add(u"Configuration", u"PrepareConfiguration " + varnel::DecimalText(ioValue));
  RaiseIf(m_prepareFault);
}

String FakeConfiguration::GetConfigurationConnectionString(const String& section) {
  m_trace->Add(u"Configuration", u"GetConfigurationConnectionString " + section);
  RaiseIf(m_getFault);
  const auto found = m_texts.find(section);
  return found == m_texts.end() ? String() : found->second;
}

}  // namespace hostfake
