#include "host-linux/web/Origin.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "host-linux/base/Ascii.h"

namespace hostlinux {

namespace {

constexpr std::array<std::string_view, 2> kSchemes = {"https://", "http://"};

// The host and port behind the scheme; empty for what has no scheme of ours.
std::string_view HostOf(std::string_view url) {
  for (const std::string_view scheme : kSchemes) {
    if (!EqualsIgnoreCase(url.substr(0, scheme.size()), scheme)) continue;
    const std::string_view rest = url.substr(scheme.size());
    return rest.substr(0, rest.find_first_of("/?#"));
  }
  return {};
}

// A site that is known to be asked by TLS has no page that was loaded without it.
bool IsHere(const HttpRequest& request, std::string_view url) {
  const std::string* host = request.headers.Find("Host");
  if (host == nullptr || host->empty() || !EqualsIgnoreCase(HostOf(url), *host)) return false;
  return !request.https || EqualsIgnoreCase(url.substr(0, kSchemes[0].size()), kSchemes[0]);
}

bool IsListed(const std::string& origin, const std::vector<std::string>& origins) {
  return std::any_of(origins.begin(), origins.end(), [&](const std::string& listed) {
    return listed == "*" || EqualsIgnoreCase(listed, origin);
  });
}

}  // namespace

bool IsUnsafeMethod(const std::string& method) { return method != "GET" && method != "HEAD"; }

std::string ForeignOrigin(const HttpRequest& request, const std::vector<std::string>& origins) {
  if (!IsUnsafeMethod(request.method)) return {};
  const std::string origin = request.headers.Joined("Origin");
  if (!origin.empty() && IsListed(origin, origins)) return {};
  if (origin.empty() && IsListed("", origins)) return {};
  const std::string site = request.headers.Joined("Sec-Fetch-Site");
  const std::string who = origin.empty() ? "it says of itself (Sec-Fetch-Site)" : origin + " says (Origin)";
  if (!site.empty()) {
    if (site == "same-origin" || site == "none") return {};
    return "a page of another site sends this request, as " + who;
  }
  if (origin.empty() || IsHere(request, origin)) return {};
  return "a page of another site sends this request, as " + who;
}

bool IsOwnOrigin(const HttpRequest& request) {
  const std::string site = request.headers.Joined("Sec-Fetch-Site");
  if (!site.empty()) return site == "same-origin" || site == "none";
  return IsHere(request, request.headers.Joined("Referer"));
}

}  // namespace hostlinux
