// The application's texts by key and language: one file messages/<language>.toml for each language.
#pragma once

#include <filesystem>
#include <map>
#include <memory>

#include "varnel/automation/Object.h"

namespace hostlinux {

// Shared by all threads: it doesn't change once it is loaded.
class MessageManager : public varnel::Object {
 public:
  using Texts = std::map<varnel::String, varnel::String>;

  explicit MessageManager(std::map<varnel::String, Texts> languages);

  const varnel::ClassInfo& Class() const override;

  // All texts by language.
  const std::map<varnel::String, Texts>& Languages() const { return m_languages; }

  // The text of `key` in `language` (such as "1033"). Raises 80004005 (hexadecimal) where there is none.
  varnel::String getMessage(const varnel::String& key, const varnel::String& language) const;

 private:
  std::map<varnel::String, Texts> m_languages;
};

// Reads all files of `folder`: null if there is no such folder. Raises ConfigurationError for a file that is
// no TOML or holds anything but texts.
std::shared_ptr<MessageManager> LoadMessages(const std::filesystem::path& folder);

}  // namespace hostlinux
