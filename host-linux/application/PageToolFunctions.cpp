#include <curl/urlapi.h>
#include <sodium.h>

#include <array>
#include <memory>
#include <string>

#include "host-linux/application/Fetch.h"
#include "host-linux/application/PageTools.h"
#include "host-linux/base/Random.h"
#include "host-linux/base/Utf8.h"
#include "host-linux/services/Log.h"
#include "host-linux/services/PasswordHash.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

namespace {

using varnel::Arguments;
using varnel::Variant;

// How much of a page's random bytes the system gives at a time.
constexpr std::size_t kRandomStretch = 256;

std::string TextOf(const Variant& value) { return varnel::ToUtf8(varnel::ToText(value)); }

Variant BytesOf(std::string_view bytes) {
  return varnel::BytesPtr(std::make_shared<const varnel::Bytes>(bytes.begin(), bytes.end()));
}

std::string_view ViewOf(const Variant& value) {
  const varnel::BytesPtr* bytes = value.As<varnel::BytesPtr>();
  if (bytes == nullptr || *bytes == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
  return {reinterpret_cast<const char*>((*bytes)->data()), (*bytes)->size()};
}

const unsigned char* Data(std::string_view bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

// --- console

Variant WriteToConsole(const std::function<PagePlace()>& place, Arguments given) {
  static constexpr std::array<LogLevel, 4> kLevels = {LogLevel::Debug, LogLevel::Info, LogLevel::Warning,
                                                      LogLevel::Error};
  const auto level = static_cast<std::size_t>(varnel::ToLong(given[0]));
  WriteLog(kLevels.at(level), PlaceText(place()) + ": " + TextOf(given[1]));
  return {};
}

// --- URLs

struct EndUrl {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, EndUrl>;

// The part, or the empty text where there is none, with `before` in front of one that there is.
Variant PartOf(CURLU* url, CURLUPart part, std::string_view before = "", std::string_view behind = "") {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return varnel::String();
  const std::string whole = std::string(before) + text + std::string(behind);
  curl_free(text);
  return varnel::FromUtf8(whole);
}

// The port only where it isn't the scheme's own.
Variant PortOf(CURLU* url) {
  char* text = nullptr;
  if (curl_url_get(url, CURLUPART_PORT, &text, CURLU_NO_DEFAULT_PORT) != CURLUE_OK) return varnel::String();
  const std::string port = text;
  curl_free(text);
  return varnel::FromUtf8(port);
}

bool SetUrl(CURLU* url, const std::string& text) {
  constexpr unsigned kFlags = CURLU_NON_SUPPORT_SCHEME | CURLU_URLENCODE;
  return text.find('\0') == std::string::npos &&
         curl_url_set(url, CURLUPART_URL, text.c_str(), kFlags) == CURLUE_OK;
}

// Address and base, null without one; gives the parts as PageTools.js names them, or null.
Variant ParseUrl(Arguments given) {
  const Url url(curl_url());
  if (url == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kOutOfMemory);
  if (!given[1].IsNull() && !SetUrl(url.get(), TextOf(given[1]))) return varnel::Null();
  const std::string address = TextOf(given[0]);
  const bool hasScheme = address.find("://") != std::string::npos;
  if ((given[1].IsNull() && !hasScheme) || !SetUrl(url.get(), address)) return varnel::Null();
  // A port that is the scheme's own, and an empty one, go.
  const Variant port = PortOf(url.get());
  curl_url_set(url.get(), CURLUPART_PORT, varnel::ToText(port).empty() ? nullptr : TextOf(port).c_str(), 0);
  CURLU* all = url.get();
  return std::make_shared<varnel::Array>(varnel::Array{
      {PartOf(all, CURLUPART_URL), PartOf(all, CURLUPART_SCHEME, "", ":"), PartOf(all, CURLUPART_USER),
       PartOf(all, CURLUPART_PASSWORD), PartOf(all, CURLUPART_HOST), port, PartOf(all, CURLUPART_PATH),
       PartOf(all, CURLUPART_QUERY, "?"), PartOf(all, CURLUPART_FRAGMENT, "#")}});
}

// --- crypto

Variant RandomBytes(Arguments given) {
  varnel::Bytes bytes(static_cast<std::size_t>(varnel::ToLong(given[0])));
  for (std::size_t at = 0; at < bytes.size(); at += kRandomStretch)
    FillRandom(bytes.data() + at, std::min(kRandomStretch, bytes.size() - at));
  return varnel::BytesPtr(std::make_shared<const varnel::Bytes>(std::move(bytes)));
}

enum class Algorithm { Sha256, Sha512 };

Algorithm AlgorithmOf(const Variant& name) {
  const varnel::String text = varnel::Replace(varnel::ToLower(varnel::ToText(name)), u"-", u"");
  if (text == u"sha256") return Algorithm::Sha256;
  if (text == u"sha512") return Algorithm::Sha512;
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument,
                            u"crypto knows sha256 and sha512, not " + varnel::ToText(name));
}

Variant Hash(Arguments given) {
  const std::string_view data = ViewOf(given[1]);
  std::array<unsigned char, crypto_hash_sha512_BYTES> result{};
  const bool isLong = AlgorithmOf(given[0]) == Algorithm::Sha512;
  isLong ? crypto_hash_sha512(result.data(), Data(data), data.size())
         : crypto_hash_sha256(result.data(), Data(data), data.size());
  return BytesOf({reinterpret_cast<const char*>(result.data()),
                  isLong ? std::size_t{crypto_hash_sha512_BYTES} : std::size_t{crypto_hash_sha256_BYTES}});
}

Variant Hmac(Arguments given) {
  const std::string_view key = ViewOf(given[1]);
  const std::string_view data = ViewOf(given[2]);
  std::array<unsigned char, crypto_auth_hmacsha512_BYTES> result{};
  const bool isLong = AlgorithmOf(given[0]) == Algorithm::Sha512;
  if (isLong) {
    crypto_auth_hmacsha512_state state;
    crypto_auth_hmacsha512_init(&state, Data(key), key.size());
    crypto_auth_hmacsha512_update(&state, Data(data), data.size());
    crypto_auth_hmacsha512_final(&state, result.data());
  } else {
    crypto_auth_hmacsha256_state state;
    crypto_auth_hmacsha256_init(&state, Data(key), key.size());
    crypto_auth_hmacsha256_update(&state, Data(data), data.size());
    crypto_auth_hmacsha256_final(&state, result.data());
  }
  return BytesOf(
      {reinterpret_cast<const char*>(result.data()),
       isLong ? std::size_t{crypto_auth_hmacsha512_BYTES} : std::size_t{crypto_auth_hmacsha256_BYTES}});
}

Variant HashPassword(Arguments given) {
  try {
    return varnel::FromUtf8(MakePasswordHash(TextOf(given[0])));
  } catch (const std::invalid_argument& refused) {
    varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, varnel::FromUtf8(refused.what()));
  }
}

// --- fetch

Variant ArrayOf(std::vector<Variant> items) {
  return std::make_shared<varnel::Array>(varnel::Array{std::move(items)});
}

// Address, method, names and values of headers in turn, body; gives address, status, headers likewise, body.
Variant FetchForPage(const SiteConfiguration::Fetch& site, std::optional<std::chrono::milliseconds> left,
                     Arguments given) {
  FetchRequest request;
  request.url = TextOf(given[0]);
  request.method = TextOf(given[1]);
  const auto* headers = given[2].As<varnel::ArrayPtr>();
  for (std::size_t i = 0; headers != nullptr && i + 1 < (*headers)->items.size(); i += 2)
    request.headers.Add(TextOf((*headers)->items[i]), TextOf((*headers)->items[i + 1]));
  request.body = ViewOf(given[3]);
  const FetchAnswer answer = Fetch(site, request, left);
  std::vector<Variant> fields;
  for (const HeaderList::Field& field : answer.headers) {
    fields.emplace_back(varnel::FromUtf8(field.name));
    fields.emplace_back(varnel::FromUtf8(field.value));
  }
  return ArrayOf({varnel::FromUtf8(answer.url), varnel::Long{answer.status}, ArrayOf(std::move(fields)),
                  BytesOf(answer.body)});
}

}  // namespace

std::vector<HostFunction> PageToolFunctions(const SiteConfiguration::Fetch& fetch, PageInquiries page) {
  return {
      {"console", [place = std::move(page.place)](Arguments given) { return WriteToConsole(place, given); }},
      {"fetch", [&fetch, left = std::move(page.timeLeft)](
                    Arguments given) { return FetchForPage(fetch, left(), given); }},
      {"parseUrl", &ParseUrl},
      {"encodeUtf8", [](Arguments given) { return BytesOf(TextOf(given[0])); }},
      {"decodeUtf8", [](Arguments given) { return Variant(varnel::FromUtf8(ViewOf(given[0]))); }},
      {"isUtf8",
       [](Arguments given) { return Variant(FindBadUtf8(ViewOf(given[0])) == std::string_view::npos); }},
      {"random", &RandomBytes},
      {"hash", &Hash},
      {"hmac", &Hmac},
      {"hashPassword", &HashPassword},
      {"checkPassword",
       [](Arguments given) { return Variant(PasswordMatches(TextOf(given[0]), TextOf(given[1]))); }}};
}

}  // namespace hostlinux
