#include "host-linux/database/provider/ConnectionString.h"

#include <algorithm>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {
namespace {

using varnel::String;
using varnel::StringView;

// The value at the beginning of `rest`, which is cut behind it and behind the ";" that follows.
String TakeValue(StringView& rest) {
  while (!rest.empty() && rest.front() == u' ') rest.remove_prefix(1);
  const char16_t open = rest.empty() ? u'\0' : rest.front();
  String value;
  if (open == u'\'' || open == u'"' || open == u'{') {
    const char16_t close = open == u'{' ? u'}' : open;
    rest.remove_prefix(1);
    while (!rest.empty()) {
      const char16_t c = rest.front();
      rest.remove_prefix(1);
      if (c == close && (rest.empty() || rest.front() != close)) break;
      if (c == close) rest.remove_prefix(1);
      value += c;
    }
    rest.remove_prefix(
        std::min(rest.size(), rest.find(u';') == StringView::npos ? rest.size() : rest.find(u';') + 1));
    return value;
  }
  const std::size_t end = std::min(rest.size(), rest.find(u';'));
  value = varnel::TrimRight(rest.substr(0, end));
  rest.remove_prefix(std::min(rest.size(), end + 1));
  return value;
}

}  // namespace

ConnectionString::ConnectionString(StringView text) {
  while (!text.empty()) {
    if (text.front() == u' ' || text.front() == u';') {
      text.remove_prefix(1);
      continue;
    }
    const std::size_t equals = text.find(u'=');
    if (equals == StringView::npos || text.find(u';') < equals) {
      throw ProviderFailure({provider_error::kFail, u"Varnel.Database",
                             u"The connection string has a part without \"=\".", 0, u"08001"});
    }
    const String key = varnel::Trim(text.substr(0, equals));
    text.remove_prefix(equals + 1);
    m_pairs.emplace_back(key, TakeValue(text));
  }
}

String ConnectionString::Get(StringView key) const {
  for (auto pair = m_pairs.rbegin(); pair != m_pairs.rend(); ++pair) {
    if (varnel::EqualsNoCase(pair->first, key)) return pair->second;
  }
  return {};
}

ConnectionString ConnectionString::With(const String& key, const String& value) const {
  ConnectionString connection = *this;
  connection.m_pairs.emplace_back(key, value);
  return connection;
}

}  // namespace hostlinux
