#include "host-linux/command/IndexCheck.h"

#include <algorithm>
#include <map>
#include <thread>

#include "host-linux/advice/IndexAdviser.h"
#include "host-linux/application/KnownEngines.h"
#include "host-linux/application/SiteHost.h"
#include "host-linux/command/SiteCheck.h"
#include "host-linux/services/Log.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {

namespace {

using varnel::String;

struct ListSeen {
  std::string place;
  String name;
  String connection;
  SortedList list;
  bool operator==(const ListSeen& other) const {
    return place == other.place && connection == other.connection && list.query == other.list.query &&
           list.keys == other.list.keys && varnel::EqualsNoCase(list.sort, other.list.sort);
  }
};

// The lists that the pages open, in each of their sorts.
class ListsSeen {
 public:
  void Add(const std::string& place, const varnel::host::ListInUse& list) {
    const auto connection = std::dynamic_pointer_cast<AdoConnection>(list.connection);
    if (connection == nullptr) return;
    ++m_opened;
    std::vector<String> sorts = list.declaredSorts;
    sorts.insert(sorts.begin(), String(list.sort));
    for (const String& sort : sorts) {
      if (varnel::Trim(sort).empty() && !varnel::Trim(sorts.front()).empty()) continue;
      ListSeen seen{place,
                    String(list.recordset),
                    connection->ConnectionText(),
                    {String(list.query), String(list.keys), sort, list.parameters}};
      if (std::find(m_lists.begin(), m_lists.end(), seen) == m_lists.end())
        m_lists.push_back(std::move(seen));
    }
  }
  const std::vector<ListSeen>& All() const { return m_lists; }
  std::size_t Opened() const { return m_opened; }

 private:
  std::vector<ListSeen> m_lists;
  std::size_t m_opened = 0;
};

PageRequest RequestFor(const SiteConfiguration& site, const std::string& page) {
  HttpRequest request;
  request.method = "GET";
  request.path = request.target = site.root + "/" + page;
  request.version = "HTTP/1.1";
  request.headers.Set("Host", "localhost");
  request.remoteAddress = "127.0.0.1";
  request.serverName = "localhost";
  request.serverPort = 80;
  request.id = "check";
  PageRequest asked;
  ReadPageRequest(std::move(request), {}, asked);
  return asked;
}

// What a page does when it is asked without parameters is all that is seen of it; one that fails may have opened lists.
ListsSeen RunPages(const SiteConfiguration& site, ScriptRuntime& runtime) {
  ListsSeen lists;
  SiteHost::Options options;
  options.guardsLists = false;
  options.limitsVisitors = false;
  options.advises = false;
  options.readsOnly = true;
  options.onList = [&lists](const std::string& place, const varnel::host::ListInUse& list) {
    lists.Add(place, list);
  };
  SiteHost host(site, runtime, std::move(options));
  std::thread([&] {
    for (const std::string& page : PagesOf(site)) host.RunPage(RequestFor(site, page), nullptr);
  }).join();
  return lists;
}

String Joined(const std::vector<String>& words) {
  String text;
  for (std::size_t i = 0; i < words.size(); ++i)
    text += (i == 0 ? u"" : i + 1 == words.size() ? u" and " : u", ") + words[i];
  return text;
}

// "list.asp, line 5: R_1 by NAME: no index serves the first and last page: CREATE INDEX ..."
std::string LineOf(const ListSeen& seen, const IndexAdvice& advice) {
  String text = seen.name + (seen.list.sort.empty() ? u" by its keys" : u" by " + seen.list.sort) +
                u": no index serves the " + Joined(advice.reads) + u" page";
  text += advice.createIndex.empty() ? String(u", and none was found that does")
                                     : u": " + advice.createIndex + u";";
  return seen.place + ": " + varnel::ToUtf8(text);
}

}  // namespace

std::vector<std::string> AdviseIndexes(const std::filesystem::path& folder, ScriptRuntime& runtime,
                                       std::size_t& count) {
  SiteConfiguration site = LoadSiteConfiguration(folder);
  site.log.level = "off";  // what a page fails with doesn't matter here
  StartLog(site);
  const ListsSeen lists = RunPages(site, runtime);
  StopLog();
  count = lists.Opened();

  AdoOptions options;
  options.engines = KnownEngines();
  options.folder = site.folder;
  options.statementTimeout = site.server.statementTimeout;
  options.readsOnly = true;
  const auto database = AdoDatabase::Make(std::move(options));
  std::map<String, std::unique_ptr<IIndexTrial>> trials;
  std::vector<std::string> lines;
  for (const ListSeen& seen : lists.All()) {
    try {
      auto& trial = trials[seen.connection];
      if (trial == nullptr) trial = MakeIndexTrial(ConnectionString(seen.connection), site.folder);
      if (trial == nullptr) continue;
      AdoConnection rows(database);
      rows.Open(seen.connection, {}, {}, varnel::host::ado::kUnspecified);
      if (const auto advice = AdviseIndex(seen.list, rows, *trial)) {
        std::string line = LineOf(seen, *advice);
        if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(std::move(line));
      }
    } catch (const std::exception& error) {
      lines.push_back(seen.place + ": " + varnel::ToUtf8(seen.name) +
                      ": can't be looked at: " + error.what());
    }
  }
  return lines;
}

}  // namespace hostlinux
