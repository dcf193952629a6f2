#include "varnel/page/PageUtil.h"

#include "varnel/automation/Members.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Lib_ErrorHandling.h"

namespace varnel {

const ClassInfo& PageUtil::Class() const {
  static const ClassInfo info{u"PageUtil",
                              {
                                  Method<&PageUtil::URL>(u"URL").Taking(u"iURL"),
                                  Method<&PageUtil::SURL>(u"SURL").Taking(u"iURL"),
                                  Method<&PageUtil::URLArgs>(u"URLArgs"),
                                  Method<&PageUtil::GetOption>(u"GetOption").Taking(u"iValue, iState"),
                                  Method<&PageUtil::HTMLEncode>(u"HTMLEncode").Taking(u"iValue"),
                              }};
  return info;
}

PageUtil::PageUtil() { PageUtil::Activate(); }

PageUtil::~PageUtil() { PageUtil::Deactivate(); }

void PageUtil::Activate() {
  try {
    Bind();
  } catch (...) {
    // Log readers know this operation under the name that it has always had there.
    Err_ReportAndRaise(u"Ostrand.Page.IObjectControl_Activate");
  }
}

void PageUtil::Bind() {
  const auto context = host::GetObjectContext();
  if (context == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet, u"there is no object context");
  m_Server = host::RequiredIntrinsic<host::IServer>(*context, u"Server");
  m_Application = host::RequiredIntrinsic<host::IApplication>(*context, u"Application");
  const auto configured = [this](StringView key) { return ToText(m_Application->Value(key)); };
  const String mode = ToLower(configured(u"CommonParam_SSLMode"));
  m_iSSLMode = mode == u"all" ? kAll : mode == u"none" ? kNone : kAsAsked;
  m_sSecureHost = configured(u"SECUREHOSTNAME");
  m_sNonSecureHost = configured(u"NONSECUREHOSTNAME");
  m_sAppDirectory = configured(u"APPLICATIONDIRECTORY");
}

void PageUtil::Deactivate() {
  m_Server = nullptr;
  m_Application = nullptr;
}

String PageUtil::URL(const String& iURL, Arguments iArgs) {
  return m_iSSLMode == kAll ? BuildSecureURL(iURL, iArgs) : BuildPlainURL(iURL, iArgs);
}

String PageUtil::SURL(const String& iURL, Arguments iArgs) {
  return m_iSSLMode == kNone ? BuildPlainURL(iURL, iArgs) : BuildSecureURL(iURL, iArgs);
}

String PageUtil::URLArgs(Arguments iArgs) { return BuildArgs(iArgs); }

String PageUtil::GetOption(const Variant& iValue, const Variant& iState) {
  const String value = ToText(iValue);
  return u"<OPTION VALUE=\"" + value + (value == ToText(iState) ? u"\" SELECTED>" : u"\">");
}

String PageUtil::HTMLEncode(const String& iValue) { return Server().HTMLEncode(iValue); }

host::IServer& PageUtil::Server() const {
  if (m_Server == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  return *m_Server;
}

String PageUtil::BuildPlainURL(const String& iURL, Arguments iArgs) const {
  return BuildAddress(u"http://" + m_sNonSecureHost, iURL, iArgs);
}

String PageUtil::BuildSecureURL(const String& iURL, Arguments iArgs) const {
  return BuildAddress(u"https://" + m_sSecureHost, iURL, iArgs);
}

// The slashes stand there even where there is no directory.
String PageUtil::BuildAddress(StringView iHost, const String& iURL, Arguments iArgs) const {
  const String address = String(iHost) + u"/" + m_sAppDirectory + u"/" + iURL;
  return iArgs.empty() ? address : address + u"?" + BuildArgs(iArgs);
}

String PageUtil::BuildArgs(Arguments iArgs) const {
  String args;
  for (std::size_t i = 0; i < iArgs.size(); i += 2) {
    if (i > 0) args += u"&";
    args += BuildPair(iArgs[i], i + 1 < iArgs.size() ? &iArgs[i + 1] : nullptr);
  }
  return args;
}

String PageUtil::BuildPair(const Variant& iName, const Variant* iValue) const {
  const String name = Server().URLEncode(ToText(iName));
  if (iValue == nullptr) RaiseRuntimeError(runtime_error::kSubscript);
  const Variant value = ToPlain(*iValue);
  return name + u"=" + (value.IsNull() ? String() : Server().URLEncode(ToText(value)));
}

}  // namespace varnel
