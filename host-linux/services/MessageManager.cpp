#include "host-linux/services/MessageManager.h"

#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/services/Toml.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

namespace {

constexpr varnel::Long kGeneralFailure = static_cast<varnel::Long>(0x80004005);

MessageManager::Texts LoadTexts(const std::filesystem::path& path) {
  MessageManager::Texts texts;
  try {
    for (const auto& [key, node] : toml::parse_file(path.string())) {
      const auto text = node.value_exact<std::string>();
      if (!text)
        throw ConfigurationError(path.filename().string() + ": " + std::string(key.str()) +
                                 " must be a text");
      texts[varnel::FromUtf8(key.str())] = varnel::FromUtf8(*text);
    }
  } catch (const toml::parse_error& error) {
    throw ConfigurationError(path.filename().string() + ", line " +
                             std::to_string(error.source().begin.line) + ": " +
                             std::string(error.description()));
  }
  return texts;
}

}  // namespace

MessageManager::MessageManager(std::map<varnel::String, Texts> languages)
    : m_languages(std::move(languages)) {}

const varnel::ClassInfo& MessageManager::Class() const {
  static const varnel::ClassInfo info{u"MessageManager",
                                      {varnel::Method<&MessageManager::getMessage>(u"getMessage")}};
  return info;
}

varnel::String MessageManager::getMessage(const varnel::String& key, const varnel::String& language) const {
  const auto texts = m_languages.find(language);
  if (texts != m_languages.end()) {
    const auto text = texts->second.find(key);
    if (text != texts->second.end()) return text->second;
  }
  throw varnel::Error({kGeneralFailure, u"MessageManager",
                       u"There is no message '" + key + u"' in language '" + language + u"'", u"", 0});
}

std::shared_ptr<MessageManager> LoadMessages(const std::filesystem::path& folder) {
  if (!std::filesystem::is_directory(folder)) return nullptr;
  std::map<varnel::String, MessageManager::Texts> languages;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".toml") continue;
    languages[varnel::FromUtf8(entry.path().stem().string())] = LoadTexts(entry.path());
  }
  return std::make_shared<MessageManager>(std::move(languages));
}

}  // namespace hostlinux
