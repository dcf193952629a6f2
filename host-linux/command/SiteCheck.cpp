#include "host-linux/command/SiteCheck.h"

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>

#include "host-linux/application/KnownEngines.h"
#include "host-linux/base/Random.h"
#include "host-linux/command/EscapeCheck.h"
#include "host-linux/command/SessionStoreOptions.h"
#include "host-linux/database/AdoDatabase.h"
#include "host-linux/intrinsics/Application.h"
#include "host-linux/nls/LocaleTable.h"
#include "host-linux/script/PageCompiler.h"
#include "host-linux/script/ScriptEngine.h"
#include "host-linux/services/MessageManager.h"
#include "host-linux/services/SiteConfiguration.h"
#include "varnel/automation/Convert.h"
#include "varnel/grid/Labels.h"
#include "varnel/page/Style.h"

namespace hostlinux {

namespace {

namespace fs = std::filesystem;

constexpr char kSiteFile[] = "site.toml";

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

// The line of site.toml on which `key` is set; 0 where it isn't found.
int LineOfKey(const std::string& text, const std::string& key) {
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    const auto start = line.find_first_not_of(" \t\"'");
    if (start == std::string::npos || line.compare(start, key.size(), key) != 0) continue;
    const auto next = line.find_first_not_of(" \t\"'", start + key.size());
    if (next != std::string::npos && line[next] == '=') return number;
  }
  return 0;
}

// The sentence of a configuration error, as "site.toml, line 2: what", taken apart.
SiteFinding FindingOf(const ConfigurationError& error, const std::string& folder = "") {
  static const std::regex form("([^:,]+)(, line ([0-9]+))?: (.*)");
  const std::string text = error.what();
  std::smatch match;
  if (!std::regex_match(text, match, form)) return {kSiteFile, 0, text};
  return {folder + match[1].str(), match[3].matched ? std::stoi(match[3]) : 0, match[4]};
}

// An image that a piece of HTML names, and the line on which it does.
struct ImageReference {
  std::string target;
  int line = 0;
};

std::vector<ImageReference> ImagesIn(const PagePiece& piece) {
  static const std::regex form("\\ssrc\\s*=\\s*(\"([^\"]*)\"|'([^']*)')", std::regex::icase);
  std::vector<ImageReference> images;
  const auto end = std::sregex_iterator();
  for (auto match = std::sregex_iterator(piece.text.begin(), piece.text.end(), form); match != end; ++match) {
    const auto before = static_cast<std::size_t>(match->position());
    images.push_back({(*match)[2].matched ? (*match)[2].str() : (*match)[3].str(),
                      piece.line + CountLineEnds(std::string_view(piece.text).substr(0, before + 1))});
  }
  return images;
}

bool IsForeign(const std::string& target) {
  static const std::regex scheme("(//|[a-zA-Z][a-zA-Z0-9+.-]*:).*");
  return target.empty() || target[0] == '#' || std::regex_match(target, scheme);
}

class Checker {
 public:
  explicit Checker(SiteConfiguration site)
      : m_site(std::move(site)),
        m_toml(ReadFile(m_site.folder / kSiteFile)),
        m_pages(m_site.PagesFolder().string()),
        m_pagesName(m_site.pages.generic_string() + "/") {}

  std::vector<SiteFinding> Run() {
    CheckSettings();
    CheckPages();
    if (m_usesGrids) CheckGridImages();
    CheckMessages();
    CheckConnections();
    if (m_site.sessions.store) CheckSessionStore();
    return std::move(m_findings);
  }

 private:
  void Add(const std::string& file, int line, const std::string& what) {
    if (m_known.emplace(file, line, what).second) m_findings.push_back({file, line, what});
  }
  void AddToKey(const std::string& key, const std::string& what) {
    Add(kSiteFile, LineOfKey(m_toml, key), what);
  }

  void CheckSettings() {
    if (!FindLocale(m_site.lcid)) AddToKey("lcid", "there is no locale " + std::to_string(m_site.lcid));
    if (!fs::is_directory(m_site.PagesFolder())) {
      AddToKey("pages", "there is no folder " + m_site.pages.generic_string());
    } else if (!fs::is_regular_file(m_site.PagesFolder() / m_site.defaultPage)) {
      AddToKey("default", "there is no page " + m_site.defaultPage);
    }
  }

  // --- Pages

  void CheckPages() {
    ScriptRuntime runtime({});
    ScriptEngine::Options options;
    options.siteRoot = m_site.root;
    ScriptEngine engine(runtime, m_pages, options);
    for (const std::string& page : PagesOf(m_site)) CheckPage(engine, page);
  }

  void CheckPage(ScriptEngine& engine, const std::string& page) {
    PageDirectives directives;
    if (const auto failure = engine.Prepare(page, directives)) {
      Add(m_pagesName + (failure->file.empty() ? page : failure->file), failure->line,
          failure->message + (failure->hint.empty() ? "" : ". " + failure->hint));
      return;
    }
    if (directives.lcid && !FindLocale(*directives.lcid))
      Add(m_pagesName + page, 0, "there is no locale " + std::to_string(*directives.lcid));
    CheckPieces(page, ParsePage(page, m_pages, m_site.root));
  }

  void CheckPieces(const std::string& page, const ParsedPage& parsed) {
    for (const UnescapedValue& value : FindUnescapedValues(parsed))
      Add(m_pagesName + parsed.files[static_cast<std::size_t>(value.file)], value.line, value.what);
    for (const PagePiece& piece : parsed.pieces) {
      if (piece.kind != PagePiece::Kind::Html) {
        m_usesGrids = m_usesGrids || piece.text.find("DGrid") != std::string::npos;
        continue;
      }
      const std::string& file = parsed.files[static_cast<std::size_t>(piece.file)];
      for (const ImageReference& image : ImagesIn(piece)) {
        if (!IsThere(page, image.target))
          Add(m_pagesName + file, image.line, "there is no file " + image.target);
      }
    }
  }

  // Whether the file that `page` names so can be there. Nothing is said of other sites.
  bool IsThere(const std::string& page, const std::string& target) const {
    if (IsForeign(target)) return true;
    std::string path = target.substr(0, target.find_first_of("?#"));
    if (path.starts_with("/")) {
      if (!path.starts_with(m_site.root + "/")) return false;
      path.erase(0, m_site.root.size() + 1);
    } else {
      path = (fs::path(page).parent_path() / path).generic_string();
    }
    return fs::is_regular_file(m_site.PagesFolder() / path);
  }

  void CheckGridImages() {
    auto state = std::make_shared<ApplicationState>([](const varnel::Object&) { return false; });
    for (const auto& [key, value] : m_site.application) state->Set(varnel::FromUtf8(key), value);
    Application application(state);
    const varnel::GridStyle style = varnel::LoadGridStyle(application);
    for (const varnel::String& image :
         {style.BtnNavBarFirst, style.BtnNavBarPrev, style.BtnNavBarNext, style.BtnNavBarLast,
          style.BtnNavBarFirstOff, style.BtnNavBarPrevOff, style.BtnNavBarNextOff, style.BtnNavBarLastOff,
          style.BtnSort, style.BtnSortedUp, style.BtnSortedDn}) {
      const std::string file = "images/" + varnel::ToUtf8(image);
      if (!fs::is_regular_file(m_site.PagesFolder() / file))
        Add(m_pagesName + file, 0, "this image of grids is missing");
    }
  }

  // --- Messages

  void CheckMessages() {
    try {
      const auto messages = LoadMessages(m_site.folder / "messages");
      if (messages != nullptr) return CheckLanguages(messages->Languages());
      if (m_usesGrids) Add("messages", 0, "this folder is missing, and grids look for texts there");
    } catch (const ConfigurationError& error) {
      const SiteFinding finding = FindingOf(error, "messages/");
      Add(finding.file, finding.line, finding.what);
    }
  }

  void CheckLanguages(const std::map<varnel::String, MessageManager::Texts>& languages) {
    std::set<varnel::String> keys;
    if (m_usesGrids) keys = GridKeys();
    for (const auto& [language, texts] : languages)
      for (const auto& [key, text] : texts) keys.insert(key);
    for (const auto& [language, texts] : languages)
      for (const varnel::String& key : keys)
        if (!texts.contains(key))
          Add(MessageFile(varnel::ToUtf8(language)), 0, varnel::ToUtf8(key) + " is missing");
    RequireLanguage(languages, m_site.lcid, "the site's lcid");
    for (const auto& [name, user] : m_site.users)
      RequireLanguage(languages, user.language, "[users." + name + "]");
  }

  static std::set<varnel::String> GridKeys() {
    using namespace varnel::labels;
    return {kCounterBegin, kCounterRest, kNoRecords, kFirstPage, kPreviousPage, kNextPage,
            kLastPage,     kSort,        kSorted,    kSortedUp,  kSortedDown};
  }

  static std::string MessageFile(const std::string& language) { return "messages/" + language + ".toml"; }

  void RequireLanguage(const std::map<varnel::String, MessageManager::Texts>& languages,
                       varnel::Long language, const std::string& reader) {
    const std::string name = std::to_string(language);
    if (!languages.contains(varnel::FromUtf8(name)))
      Add(MessageFile(name), 0, "this file is missing, and " + reader + " asks for it");
  }

  // --- Connections

  void CheckConnections() {
    AdoOptions options;
    options.engines = m_engines;
    options.folder = m_site.folder;
    options.statementTimeout = m_site.server.statementTimeout;
    options.limits.maxValue = m_site.database.maxValue;
    const auto database = AdoDatabase::Make(std::move(options));
    for (const auto& [key, value] : m_site.application)
      if (key.ends_with("_ConnectionString")) CheckConnection(*database, key, value);
    for (const auto& [key, value] : m_site.configuration) CheckConnection(*database, key, value);
  }

  // Opened for reading only, since looking a site over must not make a database.
  void CheckConnection(AdoDatabase& database, const std::string& key, const varnel::Variant& value) {
    if (!value.IsText() || varnel::ToText(value).empty())
      return AddToKey(key, key + " is no connection string");
    const varnel::String text = varnel::ToText(value);
    try {
      const auto lease = database.Lease(text, true, 0);
      database.Run(lease->Session(), u"SELECT 1 AS one", {}, 0, {1});
      CheckTables(key, ConnectionString(text));
    } catch (const std::exception& error) {
      AddToKey(key, key + " can't be opened: " + error.what());
    }
  }

  void CheckTables(const std::string& key, const ConnectionString& connection) {
    const varnel::String file = connection.Get(u"Data Source");
    const std::string source = varnel::ToUtf8(file.empty() ? connection.Get(u"Database") : file);
    for (const std::string& sentence :
         EngineOf(m_engines, connection).CheckIndexes(connection, m_site.folder))
      AddToKey(key, source + ": " + sentence);
  }

  // --- Sessions

  void CheckSessionStore() {
    try {
      RedisSessions(SessionStoreOptions(m_site)).Head(RandomToken());
    } catch (const std::exception& failure) {
      AddToKey("store", failure.what());
    }
  }

  const Engines m_engines = KnownEngines();
  const SiteConfiguration m_site;
  const std::string m_toml;
  const DiskPageFiles m_pages;
  const std::string m_pagesName;
  bool m_usesGrids = false;
  std::vector<SiteFinding> m_findings;
  std::set<std::tuple<std::string, int, std::string>> m_known;
};

}  // namespace

std::vector<std::string> PagesOf(const SiteConfiguration& site) {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& entry : fs::recursive_directory_iterator(site.PagesFolder(), missing)) {
    const std::string name = entry.path().lexically_relative(site.PagesFolder()).generic_string();
    const bool hidden = name.starts_with(".") || name.find("/.") != std::string::npos;
    if (!hidden && entry.is_regular_file() && name.ends_with(".asp")) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<SiteFinding> CheckSite(const fs::path& folder) {
  try {
    return Checker(LoadSiteConfiguration(folder)).Run();
  } catch (const ConfigurationError& error) {
    return {FindingOf(error)};
  }
}

std::string FindingText(const SiteFinding& finding) {
  return finding.file + (finding.line > 0 ? ":" + std::to_string(finding.line) : std::string()) + ": " +
         finding.what;
}

}  // namespace hostlinux
