// Guards the lists of one request.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host-linux/guard/Seal.h"
#include "host-linux/services/SiteConfiguration.h"
#include "varnel/host/IStateGuard.h"

namespace hostlinux {

class ListGuard : public varnel::host::IStateGuard {
 public:
  struct Options {
    SiteConfiguration::Links links = SiteConfiguration::Links::Columns;
    const std::vector<SealKey>* keys = nullptr;  // for sealed links; they outlive the guard
    std::string root;                            // of the site: "/shop"
    std::string defaultPage;                     // of a folder: "index.asp"
    std::string file;                            // the page that was asked for, below the pages
    std::function<void()> endPage;               // stops the script as soon as it goes on
  };

  explicit ListGuard(Options options);

  varnel::String Leaving(const varnel::String& text, const varnel::String& recordset) override;
  varnel::String LeavingFor(const varnel::String& text, const varnel::String& file,
                            const varnel::String& recordset) override;
  void Admit(const varnel::host::StateInUse& use) override;
  void AcceptStatesOf(const varnel::String& file) override;
  void AllowSort(const varnel::String& sort) override { m_allowedSorts.push_back(sort); }
  varnel::String Basis() const override;
  [[noreturn]] void Refuse(const varnel::String& reason) override;

  // Why the page was ended; nothing if it wasn't.
  const std::optional<std::string>& Refusal() const { return m_refusal; }

 private:
  bool IsSealed() const { return m_options.links == SiteConfiguration::Links::Sealed; }
  std::string FileOf(const varnel::String& path) const;
  varnel::String Sealed(const varnel::String& text, std::string_view file,
                        const varnel::String& recordset) const;
  void CheckSeal(const varnel::host::StateInUse& use);
  void CheckColumns(const varnel::host::StateInUse& use);

  const Options m_options;
  std::vector<std::string> m_files;  // whose states are good: the page itself is the first
  std::vector<varnel::String> m_allowedSorts;
  std::optional<std::string> m_refusal;
};

}  // namespace hostlinux
