#include "host-linux/application/Fetch.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <tuple>

#include "host-linux/base/Ascii.h"
#include "host-linux/intrinsics/HostError.h"

namespace hostlinux {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostRedirections = 5;
constexpr std::size_t kMostHeaderBytes = 64 * 1024;
constexpr std::array<std::string_view, 6> kMethods = {"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE"};
// The library's own business, and what would tell the other server something else than this one.
constexpr std::array<std::string_view, 8> kOwnHeaders = {
    "Host", "Content-Length", "Transfer-Encoding", "Connection", "Expect", "Upgrade", "TE", "Trailer"};

struct EndUrl {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct EndTransfer {
  void operator()(CURL* transfer) const { curl_easy_cleanup(transfer); }
};
struct EndList {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Url = std::unique_ptr<CURLU, EndUrl>;

[[noreturn]] void Fail(const std::string& sentence) { RaiseHostError(u"fetch", varnel::FromUtf8(sentence)); }

[[noreturn]] void Refuse(const std::string& sentence) {
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, varnel::FromUtf8("fetch: " + sentence));
}

std::string PartOf(CURLU* url, CURLUPart part, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, flags) != CURLUE_OK) return {};
  std::string result = text;
  curl_free(text);
  return result;
}

Url ParsedUrl(const std::string& text, const std::string& base = "") {
  Url url(curl_url());
  if (url == nullptr) throw std::bad_alloc();
  const bool hasBase = !base.empty() && curl_url_set(url.get(), CURLUPART_URL, base.c_str(), 0) == CURLUE_OK;
  const bool isAbsolute = text.find("://") != std::string::npos;
  const bool isRead = (hasBase || isAbsolute) && text.find('\0') == std::string::npos &&
                      curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) == CURLUE_OK;
  if (!isRead) Refuse("\"" + text + "\" is no address");
  return url;
}

// As site.toml names it: the port only where it isn't the scheme's own.
std::string OriginOf(CURLU* url) {
  const std::string port = PartOf(url, CURLUPART_PORT, CURLU_NO_DEFAULT_PORT);
  return LowerAscii(PartOf(url, CURLUPART_SCHEME) + "://" + PartOf(url, CURLUPART_HOST) +
                    (port.empty() ? "" : ":" + port));
}

std::string WithoutDefaultPort(const std::string& origin) { return OriginOf(ParsedUrl(origin).get()); }

void RequireListed(const SiteConfiguration::Fetch& site, CURLU* url) {
  const std::string origin = OriginOf(url);
  const bool isListed =
      std::any_of(site.addresses.begin(), site.addresses.end(),
                  [&](const std::string& listed) { return WithoutDefaultPort(listed) == origin; });
  if (!isListed) Fail("\"" + origin + "\" isn't one of [fetch] addresses in site.toml");
  if (!PartOf(url, CURLUPART_USER).empty() || !PartOf(url, CURLUPART_PASSWORD).empty())
    Refuse("an address must not hold a user's name or password");
}

// --- Addresses

bool IsIn(std::uint32_t address, std::uint32_t network, int bits) {
  return ((address ^ network) >> (32 - bits)) == 0;
}

bool IsPublicV4(std::uint32_t address) {
  struct Network {
    std::uint32_t address;
    int bits;
  };
  static constexpr std::array<Network, 14> kReserved = {{{0x00000000, 8},
                                                         {0x0A000000, 8},
                                                         {0x64400000, 10},
                                                         {0x7F000000, 8},
                                                         {0xA9FE0000, 16},
                                                         {0xAC100000, 12},
                                                         {0xC0000000, 24},
                                                         {0xC0000200, 24},
                                                         {0xC0586300, 24},
                                                         {0xC0A80000, 16},
                                                         {0xC6120000, 15},
                                                         {0xC6336400, 24},
                                                         {0xCB007100, 24},
                                                         {0xE0000000, 3}}};
  return std::none_of(kReserved.begin(), kReserved.end(),
                      [&](const Network& network) { return IsIn(address, network.address, network.bits); });
}

std::uint32_t NumberAt(const std::uint8_t* bytes) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes, sizeof number);
  return ntohl(number);
}

bool IsPublicV6(const in6_addr& address) {
  const std::uint8_t* bytes = address.s6_addr;
  const std::uint32_t first = NumberAt(bytes);
  if (IN6_IS_ADDR_V4MAPPED(&address)) return IsPublicV4(NumberAt(bytes + 12));
  const bool isTranslated = first == 0x0064FF9B && NumberAt(bytes + 4) == 0 && NumberAt(bytes + 8) == 0;
  if (isTranslated) return IsPublicV4(NumberAt(bytes + 12));
  if (first >> 16 == 0x2002) return IsPublicV4(NumberAt(bytes + 2));
  const bool isGlobal = first >> 29 == 1;  // 2000::/3
  return isGlobal && first != 0x20010000 && first != 0x20010DB8;
}

// True for a host that is written as a number, which is its own address, or as this machine.
bool IsWrittenOut(const std::string& host, const sockaddr& address) {
  if (host == "localhost") {
    const auto& four = reinterpret_cast<const sockaddr_in&>(address);
    const auto& six = reinterpret_cast<const sockaddr_in6&>(address);
    return address.sa_family == AF_INET ? IsIn(ntohl(four.sin_addr.s_addr), 0x7F000000, 8)
                                        : IN6_IS_ADDR_LOOPBACK(&six.sin6_addr) != 0;
  }
  in_addr four{};
  in6_addr six{};
  const std::string bare = host.starts_with('[') ? host.substr(1, host.size() - 2) : host;
  return inet_pton(AF_INET, bare.c_str(), &four) == 1 || inet_pton(AF_INET6, bare.c_str(), &six) == 1;
}

// --- One step of the way

struct Step {
  const SiteConfiguration::Fetch& site;
  std::string host;
  FetchAnswer answer{};
  std::size_t headerBytes = 0;
  bool isTooLong = false;
  bool isPrivate = false;
};

std::size_t TakeBody(char* bytes, std::size_t, std::size_t count, void* given) {
  Step& step = *static_cast<Step*>(given);
  step.isTooLong = step.answer.body.size() + count > step.site.maxBytes;
  if (step.isTooLong) return 0;
  step.answer.body.append(bytes, count);
  return count;
}

std::size_t TakeHeader(char* bytes, std::size_t, std::size_t count, void* given) {
  Step& step = *static_cast<Step*>(given);
  step.headerBytes += count;
  step.isTooLong = step.headerBytes > kMostHeaderBytes;
  if (step.isTooLong) return 0;
  std::string_view line(bytes, count);
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  // Behind "100 Continue" another head follows.
  if (line.starts_with("HTTP/")) step.answer.headers = HeaderList();
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || line.starts_with("HTTP/")) return count;
  std::string_view value = line.substr(colon + 1);
  while (!value.empty() && (value.front() == ' ' || value.front() == '\t')) value.remove_prefix(1);
  if (IsHeaderName(line.substr(0, colon)))
    step.answer.headers.Add(std::string(line.substr(0, colon)), std::string(value));
  return count;
}

// What a name leads to is judged here, where the connection is made: nobody can give another answer meanwhile.
curl_socket_t OpenSocket(void* given, curlsocktype, curl_sockaddr* place) {
  Step& step = *static_cast<Step*>(given);
  const bool allowed =
      step.site.isPrivateAllowed || IsWrittenOut(step.host, place->addr) || IsPublicAddress(place->addr);
  step.isPrivate = !allowed;
  if (!allowed) return CURL_SOCKET_BAD;
  return ::socket(place->family, place->socktype | SOCK_CLOEXEC, place->protocol);
}

std::unique_ptr<curl_slist, EndList> ListOf(const HeaderList& headers) {
  std::unique_ptr<curl_slist, EndList> list;
  for (const HeaderList::Field& field : headers) {
    // The library takes a field without a value for one to leave out.
    const std::string line = field.value.empty() ? field.name + ";" : field.name + ": " + field.value;
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    std::ignore = list.release();
    list.reset(longer);
  }
  return list;
}

template <typename Value>
void Set(CURL* transfer, CURLoption option, Value value) {
  if (curl_easy_setopt(transfer, option, value) != CURLE_OK) Fail("the library takes no such option");
}

void SetUp(CURL* transfer, CURLU* url, const FetchRequest& request, Step& step,
           std::chrono::milliseconds left) {
  Set(transfer, CURLOPT_CURLU, url);
  Set(transfer, CURLOPT_PROTOCOLS_STR, "http,https");
  Set(transfer, CURLOPT_PROXY, "");  // whatever the environment says
  Set(transfer, CURLOPT_NOSIGNAL, 1L);
  Set(transfer, CURLOPT_FOLLOWLOCATION, 0L);
  Set(transfer, CURLOPT_TIMEOUT_MS, static_cast<long>(left.count()));
  Set(transfer, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(left.count()));
  Set(transfer, CURLOPT_USERAGENT, "Varnel");
  Set(transfer, CURLOPT_OPENSOCKETFUNCTION, &OpenSocket);
  Set(transfer, CURLOPT_OPENSOCKETDATA, &step);
  Set(transfer, CURLOPT_WRITEFUNCTION, &TakeBody);
  Set(transfer, CURLOPT_WRITEDATA, &step);
  Set(transfer, CURLOPT_HEADERFUNCTION, &TakeHeader);
  Set(transfer, CURLOPT_HEADERDATA, &step);
  if (request.method == "HEAD") {
    Set(transfer, CURLOPT_NOBODY, 1L);
  } else if (request.method != "GET" || !request.body.empty()) {
    Set(transfer, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    Set(transfer, CURLOPT_POSTFIELDS, request.body.data());
    Set(transfer, CURLOPT_CUSTOMREQUEST, request.method.c_str());
  }
}

FetchAnswer Send(const SiteConfiguration::Fetch& site, CURLU* url, const FetchRequest& request,
                 std::chrono::milliseconds left) {
  const std::unique_ptr<CURL, EndTransfer> transfer(curl_easy_init());
  if (transfer == nullptr) throw std::bad_alloc();
  Step step{site, LowerAscii(PartOf(url, CURLUPART_HOST))};
  const std::string address = PartOf(url, CURLUPART_URL);
  SetUp(transfer.get(), url, request, step, left);
  const auto headers = ListOf(request.headers);
  Set(transfer.get(), CURLOPT_HTTPHEADER, headers.get());
  const CURLcode outcome = curl_easy_perform(transfer.get());
  if (outcome != CURLE_OK && step.isPrivate)
    Fail("\"" + step.host + "\" leads into a private network ([fetch] private in site.toml allows that)");
  if (step.isTooLong) Fail("the answer of " + address + " is longer than [fetch] max_bytes of site.toml");
  if (outcome == CURLE_OPERATION_TIMEDOUT)
    Fail(address + " has not answered in time ([fetch] timeout of site.toml, or what the page had left)");
  if (outcome != CURLE_OK) Fail(address + " can't be asked: " + curl_easy_strerror(outcome));
  long status = 0;
  curl_easy_getinfo(transfer.get(), CURLINFO_RESPONSE_CODE, &status);
  step.answer.status = static_cast<int>(status);
  step.answer.url = address;
  return std::move(step.answer);
}

void RequireSendable(const FetchRequest& request) {
  if (std::find(kMethods.begin(), kMethods.end(), request.method) == kMethods.end())
    Refuse("\"" + request.method + "\" is no method that is sent");
  for (const HeaderList::Field& field : request.headers) {
    const bool isOwn = std::any_of(kOwnHeaders.begin(), kOwnHeaders.end(),
                                   [&](std::string_view name) { return EqualsIgnoreCase(name, field.name); });
    const bool isClean = std::all_of(field.value.begin(), field.value.end(), [](char c) {
      return c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f);
    });
    if (isOwn || !isClean || !IsHeaderName(field.name))
      Refuse("the header \"" + field.name + "\" can't be sent");
  }
}

bool IsRedirection(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

}  // namespace

bool IsPublicAddress(const sockaddr& address) {
  if (address.sa_family == AF_INET)
    return IsPublicV4(ntohl(reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr));
  if (address.sa_family != AF_INET6) return false;
  return IsPublicV6(reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
}

FetchAnswer Fetch(const SiteConfiguration::Fetch& site, const FetchRequest& request,
                  std::optional<std::chrono::milliseconds> timeLeft) {
  static std::once_flag isReady;
  std::call_once(isReady, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  RequireSendable(request);
  const auto end = Clock::now() + std::min(site.timeout, timeLeft.value_or(site.timeout));
  FetchRequest step = request;
  Url url = ParsedUrl(request.url);
  const std::string origin = OriginOf(url.get());
  for (int count = 0;; ++count) {
    RequireListed(site, url.get());
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) Fail(PartOf(url.get(), CURLUPART_URL) + " was not asked: no time was left");
    FetchAnswer answer = Send(site, url.get(), step, left);
    const std::string* location = answer.headers.Find("Location");
    if (!IsRedirection(answer.status) || location == nullptr) return answer;
    if (count == kMostRedirections) Fail(answer.url + " redirects again and again");
    url = ParsedUrl(*location, answer.url);
    const bool isElsewhere = OriginOf(url.get()) != origin;
    if (answer.status < 307 && step.method != "HEAD") step.method = "GET";
    if (answer.status < 307) step.body.clear();
    if (isElsewhere && !step.body.empty()) Fail(answer.url + " sends the request's body on to another site");
    if (isElsewhere) step.headers = HeaderList();
  }
}

}  // namespace hostlinux
