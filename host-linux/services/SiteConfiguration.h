// A site's configuration: the file site.toml in the site's folder.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host-linux/services/RedisAddress.h"
#include "varnel/automation/Variant.h"

namespace hostlinux {

// What is wrong with a configuration or message file, with the file's name and, where one is known, the line.
class ConfigurationError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct SiteConfiguration {
  enum class Mode { Development, Production };

  struct Server {
    std::string listen = "127.0.0.1:8080";
    unsigned socketMode = 0600;         // of the file of a local socket
    std::string socketGroup;            // whose that file is; empty: the process's own group
    std::string user;                   // whose process runs the pages; empty: whoever starts the server
    int threads = 0;                    // script threads; 0: one for each processor
    std::size_t maxBody = 8 << 20;      // bytes of a request's body
    std::size_t maxBodies = 256 << 20;  // bytes of all requests' bodies together
    std::size_t maxHeader = 16 << 10;   // bytes of a request's head
    std::size_t maxUrl = 8 << 10;       // bytes of a request's address
    std::size_t maxConnections = 10000;
    std::size_t maxResponseBuffer = 64 << 20;  // bytes of a page
    std::size_t maxUnread = 64 << 20;          // bytes flushed by a page that wait for its visitor
    std::size_t maxUnreadTogether = 1 << 30;   // bytes of all pages that wait so
    std::size_t maxSessions = 100000;
    std::size_t maxSession = 1 << 20;  // bytes of one session's values
    std::size_t maxHeap = 256 << 20;   // bytes of one script thread's heap
    std::size_t maxWaiting = 1000;     // requests that wait for a script thread
    std::chrono::milliseconds scriptTimeout{30000};
    std::chrono::milliseconds stuckTimeout{30000};     // past that, before the process is replaced
    std::chrono::milliseconds statementTimeout{5000};  // caps CommandTimeout
    std::chrono::milliseconds headerTimeout{10000};
    std::chrono::milliseconds bodyTimeout{30000};
    std::chrono::milliseconds idleTimeout{30000};
    std::chrono::milliseconds writeTimeout{30000};
    std::chrono::milliseconds drainTimeout{30000};
    std::chrono::minutes sessionTimeout{20};
    std::vector<std::string> refuseParameters = {"URL"};  // answered with 400
    std::vector<std::string> trustedProxies;              // addresses; "unix" for a local socket
    bool compression = true;                              // of answers that are text
  };

  // What a list takes from its links and forms.
  enum class Links {
    Columns,  // sorts by columns that the list shows, and those that the page has declared
    Sealed,   // what this site made for this page
    Any       // everything, as it stands
  };

  struct Lists {
    Links links = Links::Columns;
    std::vector<std::string> keys;                // of sealed links, 32 hexadecimal digits each
    std::filesystem::path keyFile = "links.key";  // where `keys` is empty; relative to the folder
    std::string refusedPage;  // answers a refused link; below the pages; empty: a plain one of the server's
  };

  // Where sessions are kept beside a worker's memory.
  struct Sessions {
    std::filesystem::path folder;    // relative to the site's; empty: one that ends with the server
    std::size_t maxBytes = 1 << 30;  // of the file
    // A server that keeps them for several web processes, instead of a file.
    std::optional<RedisAddress> store;
    std::string prefix;                       // of its keys; empty: by the site's root
    std::chrono::milliseconds timeout{1000};  // of a call to it
    std::filesystem::path caFile;             // who vouches for it by TLS; empty: whom the system trusts
    std::filesystem::path certFile, keyFile;  // what shows who we are; empty: nothing
  };

  // What is asked of requests that may change something.
  struct Forms {
    bool token = false;                // the session's form token
    std::vector<std::string> origins;  // whose pages may send them beside the site's own; "*": anybody's
  };

  // What pages may ask other servers.
  struct Fetch {
    std::vector<std::string> addresses;  // origins, such as "https://api.example"; none: nobody is asked
    bool isPrivateAllowed = false;       // their names may lead into private networks
    std::chrono::milliseconds timeout{5000};
    std::size_t maxBytes = 1 << 20;  // of an answer
  };

  // Of one address in a minute; 0: no limit.
  struct Limits {
    std::uint32_t requests = 12000;
    std::uint32_t newSessions = 600;
  };

  // Bytes. What goes beyond fails alone.
  struct Database {
    std::size_t maxValue = 8 << 20;        // one value, one stored row
    std::size_t maxResult = 64 << 20;      // rows of a recordset that are held at once
    std::size_t maxMemory = 64 << 20;      // what the engine holds for one script thread
    std::size_t maxTemporary = 256 << 20;  // its temporary files for one script thread
  };

  struct User {
    varnel::Long language = 0;
    std::string password;  // as MakePasswordHash makes it; empty: nobody can sign in as this user
    std::string role;      // empty: none
  };

  struct Log {
    std::string file;  // relative to the site; empty: standard error
    std::string level = "info";
    std::size_t maxSize = 10 << 20;  // bytes, then the file is rotated
    std::size_t maxFiles = 5;
  };

  using Values = std::map<std::string, varnel::Variant>;

  std::filesystem::path folder;           // absolute
  bool saysNothing = false;               // the file has no section: it may be one that isn't written yet
  std::string root = "/site";             // exactly one segment: links are built from it
  std::filesystem::path pages = "pages";  // relative to the folder
  std::string defaultPage = "index.asp";
  varnel::Long lcid = 1033;
  int codePage = 1252;
  Mode mode = Mode::Production;
  Server server;
  Sessions sessions;
  Limits limits;
  Forms forms;
  Fetch fetch;
  Database database;
  Values application;                                        // Application values
  Values session;                                            // values that a new session starts with
  std::vector<std::pair<std::string, std::string>> headers;  // of all responses
  Values configuration;                                      // connection strings by section
  std::map<std::string, User> users;
  Log log;
  Lists lists;
  std::size_t signInAttempts = 10;               // of one address in a minute
  std::vector<std::filesystem::path> fileRoots;  // components may write below these; relative to the folder
  std::size_t maxFiles = 10000;                  // files and folders below one of them
  std::size_t maxFileBytes = 1 << 30;            // bytes of these files together

  std::filesystem::path PagesFolder() const { return folder / pages; }
};

// Reads site.toml of `folder`. An absent section or key keeps its default; an unknown one, a wrong type or a
// value out of range raises ConfigurationError.
SiteConfiguration LoadSiteConfiguration(const std::filesystem::path& folder);

// The text of that file. Raises ConfigurationError where it can't be read.
std::string ReadSiteConfiguration(const std::filesystem::path& folder);

// The same as LoadSiteConfiguration, from the text of such a file.
SiteConfiguration ParseSiteConfiguration(std::string_view text, const std::filesystem::path& folder);

}  // namespace hostlinux
