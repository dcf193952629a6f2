// A request and a response as plain values. All texts are UTF-8 or bytes as they came.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host-linux/base/UniqueFd.h"

namespace hostlinux {

// Header fields in the order they came; names compare without regard to case.
class HeaderList {
 public:
  struct Field {
    std::string name;
    std::string value;
  };

  // The value of the first field of that name; null where there is none. It lives until the list is changed.
  const std::string* Find(std::string_view name) const;

  // All values of that name joined with ", "; empty where there is none.
  std::string Joined(std::string_view name) const;

  std::size_t CountOf(std::string_view name) const;

  // Appends a field, beside others of the same name.
  void Add(std::string name, std::string value);

  // Leaves exactly one field of that name.
  void Set(std::string name, std::string value);

  void Remove(std::string_view name);

  auto begin() const { return m_fields.begin(); }
  auto end() const { return m_fields.end(); }
  bool empty() const { return m_fields.empty(); }

 private:
  std::vector<Field> m_fields;
};

struct HttpRequest {
  std::string method;    // as sent, upper case by custom
  std::string target;    // as sent
  std::string path;      // decoded and normalised, begins with "/"
  std::string rawQuery;  // behind the first "?", still encoded; without the "?"
  std::string version;   // "HTTP/1.1"
  HeaderList headers;
  std::string body;
  std::string remoteAddress;  // "127.0.0.1"; empty for a local socket
  std::string serverName;     // the Host header without its port
  std::uint16_t serverPort = 0;
  bool https = false;
  std::string id;  // names the request in error pages and the log
};

// A stretch of an open file, sent piece by piece so that it need not fit into memory.
struct FileBody {
  std::shared_ptr<UniqueFd> file;
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};

struct HttpResponse {
  int status = 200;
  std::string reason;  // empty: the usual one of the status
  HeaderList headers;
  std::string body;
  std::optional<FileBody> file;  // instead of `body`
};

// The usual reason of a status, "Not Found" for 404; "Status" for one that has none here.
std::string_view ReasonOf(int status);

// True for statuses whose responses never have a body (1xx, 204, 304).
bool IsBodiless(int status);

// The status line and header lines with the empty line behind. Control characters in the reason and the
// values become blanks, and fields with an ill-formed name are left out, so that no value can forge another
// header.
std::string HeadText(const HttpResponse& response);

// True when `name` is a token that may name a header field.
bool IsHeaderName(std::string_view name);

}  // namespace hostlinux
