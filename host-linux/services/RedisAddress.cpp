#include "host-linux/services/RedisAddress.h"

#include <algorithm>
#include <charconv>

#include "host-linux/base/Percent.h"

namespace hostlinux {

namespace {

constexpr int kMostDatabases = 99999;

// False where `text` is no whole number of that range.
bool ReadNumber(std::string_view text, int least, int most, int& number) {
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = failure == std::errc() && end == text.data() + text.size();
  return isWhole && number >= least && number <= most;
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// "USER:PASSWORD" or ":PASSWORD"; a lone word could be either.
bool ReadUser(std::string_view text, RedisAddress& address) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return false;
  return PercentDecode(text.substr(0, colon), false, address.user) &&
         PercentDecode(text.substr(colon + 1), false, address.password) && !address.password.empty();
}

bool IsHost(std::string_view text) {
  return !text.empty() &&
         text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_:%") ==
             std::string_view::npos;
}

// "HOST", "HOST:PORT" or "[::1]:PORT".
bool ReadHost(std::string_view text, RedisAddress& address) {
  const bool isBracketed = text.starts_with('[');
  const std::size_t end = isBracketed ? text.find(']') : text.find(':');
  if (isBracketed && end == std::string_view::npos) return false;
  address.host = isBracketed ? text.substr(1, end - 1) : text.substr(0, end);
  if (!IsHost(address.host)) return false;
  std::string_view rest = text.substr(std::min(text.size(), isBracketed ? end + 1 : end));
  if (rest.empty()) return true;
  int port = 0;
  if (!TakePrefix(rest, ":") || !ReadNumber(rest, 1, 65535, port)) return false;
  address.port = static_cast<std::uint16_t>(port);
  return true;
}

bool ReadTcp(std::string_view text, RedisAddress& address) {
  // A password may hold a slash or an "@" as it is.
  const std::size_t at = text.rfind('@');
  if (at != std::string_view::npos) {
    if (!ReadUser(text.substr(0, at), address)) return false;
    text.remove_prefix(at + 1);
  }
  const std::size_t slash = text.find('/');
  const std::string_view path = slash == std::string_view::npos ? "" : text.substr(slash + 1);
  if (!path.empty() && !ReadNumber(path, 0, kMostDatabases, address.database)) return false;
  return ReadHost(text.substr(0, slash), address);
}

bool ReadLocal(std::string_view text, RedisAddress& address) {
  if (!text.starts_with('/')) {
    const std::size_t at = text.find("@/");
    if (at == std::string_view::npos || !ReadUser(text.substr(0, at), address)) return false;
    text.remove_prefix(at + 1);
  }
  const std::size_t mark = text.find('?');
  std::string_view query = mark == std::string_view::npos ? "" : text.substr(mark + 1);
  if (mark != std::string_view::npos &&
      (!TakePrefix(query, "db=") || !ReadNumber(query, 0, kMostDatabases, address.database)))
    return false;
  address.socket = text.substr(0, mark);
  return address.socket.size() > 1;
}

}  // namespace

std::string RedisAddress::Name() const {
  if (!socket.empty()) return "unix://" + socket + (database == 0 ? "" : "?db=" + std::to_string(database));
  const bool isNumeric6 = host.find(':') != std::string::npos;
  return (isTls ? "rediss://" : "redis://") + (isNumeric6 ? "[" + host + "]" : host) + ":" +
         std::to_string(port) + "/" + std::to_string(database);
}

std::optional<RedisAddress> ParseRedisAddress(std::string_view text) {
  RedisAddress address;
  if (TakePrefix(text, "unix://")) {
    if (!ReadLocal(text, address)) return std::nullopt;
    return address;
  }
  address.isTls = text.starts_with("rediss://");
  if (!TakePrefix(text, address.isTls ? "rediss://" : "redis://") || !ReadTcp(text, address))
    return std::nullopt;
  return address;
}

}  // namespace hostlinux
