// A site with the host that serves it in this process, and tests that ask it for pages.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "host-linux/application/LinuxPlatform.h"
#include "host-linux/script/ScriptRuntime.h"
#include "tests/application/TestSite.h"
#include "tests/web/TestClient.h"

namespace hosttest {

// The script engine's runtime, which can be set up once in a process only.
hostlinux::ScriptRuntime& SharedRuntime();

class ServedSite {
 public:
  // Reads the site's configuration as it stands; serves on a port of its own until it ends.
  // `ownComponents`: classes of the test's own for Server.CreateObject.
  explicit ServedSite(const std::filesystem::path& folder, hostlinux::ComponentFactory ownComponents = {});
  ~ServedSite();

  std::uint16_t Port() const;

  // The text of a page that must succeed, named from the site's root on, over a connection of its own.
  std::string PageText(const std::string& page, const std::string& query = "") const;

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

class PageTest : public testing::Test {
 protected:
  PageTest();
  ~PageTest() override;

  // The host, made with the first request: the site is set up before.
  ServedSite& Served();
  // Classes of the test's own, set before the first request.
  hostlinux::ComponentFactory ownComponents;

  // Over a connection that is kept: the answer to a GET, a POST, or to what is sent byte for byte.
  Answer Get(const std::string& target, const std::string& headers = "");
  Answer Post(const std::string& target, const std::string& body,
              const std::string& type = "application/x-www-form-urlencoded", const std::string& headers = "");
  TestClient& Client();

  // Writes a page of its own and asks for it.
  Answer Ask(const std::string& page, const std::string& query = "", const std::string& headers = "");

  // The text of a page that must succeed.
  std::string Output(const std::string& page, const std::string& query = "");

  // What an expression of the script writes.
  std::string Value(const std::string& expression) { return Output("<%= " + expression + " %>"); }

  // What a failed page tells in development mode, without the markup around it.
  std::string Failure(const std::string& page);

  // Ends the host and gives all that it has logged.
  std::string EndedLog();

  TestSite site;

 private:
  std::string NewPage(const std::string& page);

  std::unique_ptr<ServedSite> m_served;
  std::unique_ptr<TestClient> m_client;
  int m_pages = 0;
};

// `text` without HTML's escapes.
std::string Unescaped(std::string text);

// The session cookie that an answer sets, as a header line of the next request; empty if it sets none.
std::string CookieLine(const Answer& answer);

}  // namespace hosttest
