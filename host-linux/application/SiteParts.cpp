#include "host-linux/application/SiteParts.h"

#include <algorithm>
#include <filesystem>

#include "host-linux/application/KnownEngines.h"
#include "host-linux/base/NearestName.h"
#include "host-linux/intrinsics/ObjectContext.h"
#include "host-linux/script/SourceMap.h"
#include "host-linux/services/Log.h"
#include "host-linux/services/MessageManager.h"
#include "host-linux/web/UrlPath.h"
#include "varnel/catalog/FavoriteTypes.h"
#include "varnel/table/TableTypes.h"

namespace hostlinux {

namespace {

// Only what no request owns may outlive a request.
bool MayOutliveRequest(const varnel::Object& object) {
  return dynamic_cast<const MessageManager*>(&object) != nullptr;
}

EngineLimits LimitsOf(const SiteConfiguration::Database& database) {
  return {database.maxValue, database.maxResult, database.maxMemory, database.maxTemporary};
}

constexpr varnel::StringView kConnectionEnd = u"_ConnectionString";

// A connection's name is half of a key in site.toml.
varnel::String WhyConnectionIsEmpty() {
  const auto context = CurrentContext();
  if (context == nullptr) return {};
  Application& application = *context->Objects().application;
  const varnel::String& key = application.MissingKey();
  if (!key.ends_with(kConnectionEnd)) return {};
  std::vector<varnel::String> known;
  for (const varnel::String& name : application.Keys()) {
    if (name.ends_with(kConnectionEnd)) known.push_back(name.substr(0, name.size() - kConnectionEnd.size()));
  }
  return u"[application] in site.toml has no " + key + u"." +
         DidYouMean(key.substr(0, key.size() - kConnectionEnd.size()), known);
}

// The names of the files beside the one that the connection string means.
std::vector<varnel::String> FilesBeside(const std::filesystem::path& file) {
  std::vector<varnel::String> names;
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(file.parent_path(), unreadable))
    names.push_back(varnel::FromUtf8(entry.path().filename().string()));
  std::sort(names.begin(), names.end());
  return names;
}

// Which line of site.toml has that text, and which file may have been meant instead of one that isn't there.
varnel::String WhereConnectionStands(const SiteConfiguration& site, const varnel::String& text) {
  const auto keyIn = [&](const SiteConfiguration::Values& values) {
    const auto found = std::find_if(values.begin(), values.end(), [&](const auto& entry) {
      return entry.second.IsText() && *entry.second.template As<varnel::String>() == text;
    });
    return found == values.end() ? varnel::String() : varnel::FromUtf8(found->first);
  };
  const varnel::String name = keyIn(site.application);
  const varnel::String section = name.empty() ? keyIn(site.configuration) : varnel::String();
  if (name.empty() && section.empty()) return {};
  const varnel::String sentence = name.empty() ? section + u" of [configuration] in site.toml says so."
                                               : name + u" of [application] in site.toml says so.";
  const std::string source = varnel::ToUtf8(ConnectionString(text).Get(u"Data Source"));
  const std::filesystem::path file = site.folder / source;
  std::error_code unreachable;
  if (source.empty() || std::filesystem::exists(file, unreachable)) return sentence;
  return sentence + DidYouMean(varnel::FromUtf8(file.filename().string()), FilesBeside(file));
}

}  // namespace

std::vector<std::pair<std::string, double>> PublicEnumerations() {
  std::vector<std::pair<std::string, double>> constants;
  for (const auto& [name, value] : varnel::TableEnumerationNames()) {
    constants.emplace_back(varnel::ToUtf8(name), value);
  }
  for (const auto& [name, value] : varnel::FavoriteEnumerationNames()) {
    constants.emplace_back(varnel::ToUtf8(name), value);
  }
  return constants;
}

std::shared_ptr<ApplicationState> MakeApplication(const SiteConfiguration& site) {
  auto application = std::make_shared<ApplicationState>(MayOutliveRequest);
  for (const auto& [key, value] : site.application) application->Set(varnel::FromUtf8(key), value);
  if (auto messages = LoadMessages(site.folder / "messages"))
    application->Set(u"I18NMessageManager", messages);
  return application;
}

std::shared_ptr<SessionStore> MakeSessions(const SiteConfiguration& site,
                                           std::shared_ptr<ISessionArchive> archive) {
  SessionStore::Options options;
  options.maxSessions = site.server.maxSessions;
  options.maxBytes = site.server.maxSession;
  options.timeout = site.server.sessionTimeout;
  options.mayKeep = MayOutliveRequest;
  options.archive = std::move(archive);
  auto sessions = std::make_shared<SessionStore>(options);
  for (const auto& [key, value] : site.session) sessions->SetInitial(varnel::FromUtf8(key), value);
  return sessions;
}

std::unique_ptr<AddressLimit> MakeSessionLimit(const SiteConfiguration& site) {
  if (site.limits.newSessions == 0) return nullptr;
  AddressLimit::Options options;
  options.perMinute = site.limits.newSessions;
  options.refused = [](const std::string& address) {
    WriteLog(LogLevel::Warning, address + " begins more sessions than new_sessions allows");
  };
  return std::make_unique<AddressLimit>(std::move(options));
}

std::shared_ptr<AdoDatabase> MakeDatabase(const SiteConfiguration& site,
                                          std::function<void(const SqlTraceEntry&)> onStatement,
                                          TimeLeft timeLeft, bool readsOnly) {
  AdoOptions options;
  options.engines = KnownEngines();
  options.folder = site.folder;
  options.statementTimeout = site.server.statementTimeout;
  options.limits = LimitsOf(site.database);
  options.timeLeft = std::move(timeLeft);
  options.onStatement = std::move(onStatement);
  options.whyEmpty = WhyConnectionIsEmpty;
  options.readsOnly = readsOnly;
  options.whereFrom = [site](const varnel::String& text) { return WhereConnectionStands(site, text); };
  if (site.mode == SiteConfiguration::Mode::Development) {
    options.onWarning = [](const varnel::String& text) { WriteLog(LogLevel::Warning, varnel::ToUtf8(text)); };
  }
  return AdoDatabase::Make(std::move(options));
}

std::string FileCaching(const SiteConfiguration& site) {
  return site.mode == SiteConfiguration::Mode::Development ? "no-cache" : "public, max-age=3600";
}

std::string PagesUrl(const SiteConfiguration& site) {
  std::error_code unreachable;
  const auto folder = std::filesystem::weakly_canonical(site.PagesFolder(), unreachable);
  return "file://" + UrlOfPath((unreachable ? site.PagesFolder() : folder).string()) + "/";
}

}  // namespace hostlinux
