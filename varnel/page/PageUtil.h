// Absolute links and small pieces of HTML for pages that need no `Page`.
//
// The site's Application values say which hosts there are and which links are secure: "CommonParam_SSLMode"
// ("all", "none", anything else: only what is asked for), "SECUREHOSTNAME", "NONSECUREHOSTNAME" and
// "APPLICATIONDIRECTORY". They are read when the object is made.
#pragma once

#include <memory>

#include "varnel/automation/Object.h"
#include "varnel/host/IObjectControl.h"
#include "varnel/host/Intrinsics.h"

namespace varnel {

// ProgID "Varnel.PageUtil". `iArgs` are names and values in turn, any number of them, both encoded: a Null
// value stands for an empty one. A name without its value raises 9, a Null name 94; after `Deactivate` a name
// raises 91.
class PageUtil : public Object, public host::IObjectControl {
 public:
  // Activates itself; raises as `Activate`.
  PageUtil();
  ~PageUtil() override;
  const ClassInfo& Class() const override;

  // Binds the host's objects and reads the configuration. A failure is reported and raised again.
  void Activate() override;
  // Lets go of the host's objects; what was read stays.
  void Deactivate() override;

  // The address of `iURL`, which isn't encoded, on the plain host; on the secure one where all links are.
  String URL(const String& iURL, Arguments iArgs);
  // The same on the secure host; on the plain one where no link is secure.
  String SURL(const String& iURL, Arguments iArgs);
  // The arguments alone, as they stand in a form's body: "a=1&b=2".
  String URLArgs(Arguments iArgs);

  // The opening tag of an option, selected where both values are the same text, letter by letter. The value
  // isn't encoded. Raises 94 for Null.
  String GetOption(const Variant& iValue, const Variant& iState);

  // As the host encodes.
  String HTMLEncode(const String& iValue);

 private:
  enum SSLMode : Long { kAll = 1, kNone = 2, kAsAsked = 3 };

  void Bind();
  host::IServer& Server() const;
  String BuildPlainURL(const String& iURL, Arguments iArgs) const;
  String BuildSecureURL(const String& iURL, Arguments iArgs) const;
  String BuildAddress(StringView iHost, const String& iURL, Arguments iArgs) const;
  String BuildArgs(Arguments iArgs) const;
  String BuildPair(const Variant& iName, const Variant* iValue) const;

  Long m_iSSLMode = kAsAsked;
  std::shared_ptr<host::IServer> m_Server;
  std::shared_ptr<host::IApplication> m_Application;
  String m_sNonSecureHost;
  String m_sSecureHost;
  String m_sAppDirectory;
};

}  // namespace varnel
