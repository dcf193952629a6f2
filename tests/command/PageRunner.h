// Runs pages of a site in this process, without a server.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace hosttest {

class PageRunner {
 public:
  // One at a time: the site's host is the library's platform while this lives.
  explicit PageRunner(const std::filesystem::path& site);
  ~PageRunner();

  // The text of a page, asked for by GET; a failure of it is one of the test, and its description the text.
  std::string Run(const std::string& page, const std::string& query = "");

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace hosttest
