#include "host-linux/database/provider/ServerKeys.h"

#include <charconv>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

using varnel::String;
using varnel::StringView;

void RefuseConnection(StringView source, const String& sentence) {
  throw ProviderFailure({provider_error::kFail, String(source), sentence, 0, u"08001"});
}

bool ReadsOnly(const ConnectionString& connection, bool readOnly, StringView source) {
  const String mode = connection.Get(u"Mode");
  if (readOnly || varnel::EqualsNoCase(mode, u"Read")) return true;
  if (mode.empty() || varnel::EqualsNoCase(mode, u"ReadWrite")) return false;
  RefuseConnection(source, u"The connection string has an unknown Mode: '" + mode + u"'.");
}

std::chrono::milliseconds KeepsCounts(const ConnectionString& connection, StringView source) {
  const String text = connection.Get(u"CountsFor");
  if (text.empty()) return std::chrono::milliseconds(0);
  const std::string utf8 = varnel::ToUtf8(text);
  std::int64_t number = 0;
  const auto end = std::from_chars(utf8.data(), utf8.data() + utf8.size(), number);
  const std::string_view unit(end.ptr, static_cast<std::size_t>(utf8.data() + utf8.size() - end.ptr));
  constexpr std::int64_t kMost = 24 * 3600;
  if (end.ec == std::errc() && number >= 0 && number <= kMost) {
    if (unit == "s") return std::chrono::seconds(number);
    if (unit == "ms") return std::chrono::milliseconds(number);
  }
  RefuseConnection(source, u"CountsFor is no time such as 30s: '" + text + u"'.");
}

void RefuseLimits(const ConnectionString& connection, StringView source) {
  for (const StringView key : {StringView(u"Tables"), StringView(u"Functions")}) {
    if (!connection.Get(key).empty())
      RefuseConnection(
          source, String(key) + u" can't be limited here: what a user may touch is granted on the server.");
  }
}

}  // namespace hostlinux
