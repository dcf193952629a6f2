// A site's copy in a temporary folder, which goes with it.
#pragma once

#include <filesystem>

#include "host-linux/services/SiteConfiguration.h"

namespace hostlinux {

class SiteCopy {
 public:
  // Copies the files of `site`, and the databases that its connection strings name elsewhere. Throws
  // std::filesystem::filesystem_error.
  explicit SiteCopy(const SiteConfiguration& site);
  ~SiteCopy();
  SiteCopy(const SiteCopy&) = delete;
  SiteCopy& operator=(const SiteCopy&) = delete;

  // The same site, at home in the copy.
  const SiteConfiguration& Site() const { return m_site; }

 private:
  void CopyFolder(const std::filesystem::path& from, const std::filesystem::path& to);
  bool IsLeftOut(const std::filesystem::path& path) const;
  void TakeDatabase(varnel::Variant& connection);

  const std::filesystem::path m_original;
  SiteConfiguration m_site;
  int m_databases = 0;
};

}  // namespace hostlinux
