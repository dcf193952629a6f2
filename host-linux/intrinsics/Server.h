// What the server does for a page: encoding, components, files, other pages.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "host-linux/intrinsics/RequestBound.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

// Both raise 7 for an encoded text of more characters than this.
inline constexpr std::size_t kMostEncodedUnits = 64 * 1024 * 1024;

// The bytes of the UTF-8 text: letters and digits stay, a blank becomes "+", every other one %XX.
varnel::String UrlEncodeText(varnel::StringView text);
// & < > and the double quote become names.
varnel::String HtmlEncodeText(varnel::StringView text);
// The same, and the single quote too: a value in an attribute stays in it, whatever quotes that has.
varnel::String HtmlText(varnel::StringView text);

class Server : public varnel::Object, public varnel::host::IServer, public RequestBound {
 public:
  struct Options {
    std::string pagePath;               // of the running page, "/shop/a/list.asp"
    std::string root;                   // of the site, "/shop"; empty: "/"
    std::filesystem::path pagesFolder;  // what `root` stands for
    varnel::Long scriptTimeout = 30;    // seconds

    // What follows may be left empty; the operation then raises 438.
    std::function<varnel::ObjectPtr(varnel::StringView progID)> createObject;
    // Runs the page at that path of the site ("a/other.asp", relative to the pages folder) inside the running
    // one.
    std::function<void(const std::string& page)> execute;
    std::function<void()> endPage;
    std::function<void(varnel::Long seconds)> setScriptTimeout;
  };

  explicit Server(Options options) : m_options(std::move(options)) {}

  const varnel::ClassInfo& Class() const override;

  varnel::String URLEncode(varnel::StringView text) override { return UrlEncodeText(text); }
  varnel::String HTMLEncode(varnel::StringView text) override { return HtmlEncodeText(text); }

  varnel::String URLEncodeValue(const varnel::String& text) { return UrlEncodeText(text); }
  varnel::String HTMLEncodeValue(const varnel::String& text) { return HtmlEncodeText(text); }

  // The file that `path` stands for: a path of the site ("/shop/a.txt") or one relative to the running page.
  // It need not exist. Raises 5 for a path outside the site's pages.
  varnel::String MapPath(const varnel::String& path);
  varnel::ObjectPtr CreateObject(const varnel::String& progID);
  // Runs another page, named as for MapPath, and goes on; Transfer doesn't go on.
  void Execute(const varnel::String& path);
  void Transfer(const varnel::String& path);
  // Seconds that the page may run from its start: 1 or more, otherwise 5.
  varnel::Long ScriptTimeout() const { return m_options.scriptTimeout; }
  void SetScriptTimeout(varnel::Long seconds);

 private:
  std::string InsidePages(const varnel::String& path) const;

  Options m_options;
};

}  // namespace hostlinux
