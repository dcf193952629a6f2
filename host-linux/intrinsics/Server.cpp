#include "host-linux/intrinsics/Server.h"

#include <algorithm>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/HtmlMarks.h"
#include "host-linux/web/UrlPath.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::ObjectPtr;
using varnel::RaiseRuntimeError;
using varnel::String;
using varnel::StringView;

namespace {

// Of the marks in a short text: it then needs memory once.
constexpr std::size_t kRoomForNames = 24;

constexpr bool IsMarkOrApostrophe(char16_t unit) { return IsHtmlMark(unit) || unit == u'\''; }

// The first such character from `from` on, or the end.
template <auto IsOne>
std::size_t FindMark(StringView text, std::size_t from) {
  while (from < text.size() && !IsOne(text[from])) ++from;
  return from;
}

// More than a script may have of a text needn't be made.
void RequireRoom(std::size_t units) {
  if (units > kMostEncodedUnits)
    RaiseRuntimeError(varnel::runtime_error::kOutOfMemory, u"a text that is too long");
}

[[noreturn]] void RefusePath(StringView path) {
  RaiseRuntimeError(varnel::runtime_error::kInvalidArgument,
                    u"\"" + String(path) + u"\" is no path of the site");
}

template <auto IsOne>
String Encoded(StringView text) {
  std::size_t mark = FindMark<IsOne>(text, 0);
  if (mark == text.size()) return String(text);
  String encoded;
  encoded.reserve(text.size() + text.size() / 8 + kRoomForNames);
  std::size_t start = 0;
  for (; mark < text.size(); mark = FindMark<IsOne>(text, start)) {
    const std::string_view html = HtmlOfMark(text[mark]);
    encoded.append(text, start, mark - start).append(html.begin(), html.end());
    RequireRoom(encoded.size());
    start = mark + 1;
  }
  return encoded.append(text, start);
}

template <class Function>
const Function& Required(const Function& function, StringView member) {
  if (!function) RaiseRuntimeError(varnel::runtime_error::kNoSuchMember, u"Server." + String(member));
  return function;
}

}  // namespace

String UrlEncodeText(StringView text) {
  const std::string bytes = varnel::ToUtf8(text);
  RequireRoom(bytes.size());
  String encoded(3 * bytes.size(), u'\0');
  auto end = encoded.begin();
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (IsAlphanumeric(c) || c == ' ') {
      *end++ = c == ' ' ? u'+' : static_cast<char16_t>(byte);
    } else {
      *end++ = u'%';
      *end++ = u"0123456789ABCDEF"[byte >> 4];
      *end++ = u"0123456789ABCDEF"[byte & 15];
    }
  }
  encoded.erase(end, encoded.end());
  RequireRoom(encoded.size());
  return encoded;
}

String HtmlEncodeText(StringView text) { return Encoded<IsHtmlMark>(text); }

String HtmlText(StringView text) { return Encoded<IsMarkOrApostrophe>(text); }

const ClassInfo& Server::Class() const {
  static const ClassInfo info{
      u"Server",
      {
          varnel::Method<&Server::URLEncodeValue>(u"URLEncode"),
          varnel::Method<&Server::HTMLEncodeValue>(u"HTMLEncode"),
          varnel::Method<&Server::MapPath>(u"MapPath"),
          varnel::Method<&Server::CreateObject>(u"CreateObject"),
          varnel::Method<&Server::Execute>(u"Execute"),
          varnel::Method<&Server::Transfer>(u"Transfer"),
          varnel::Property<&Server::ScriptTimeout, &Server::SetScriptTimeout>(u"ScriptTimeout"),
      }};
  return info;
}

// The path below the pages folder, without a slash in front; empty for the folder itself.
std::string Server::InsidePages(const String& path) const {
  std::string text = varnel::ToUtf8(path);
  std::replace(text.begin(), text.end(), '\\', '/');
  if (text.find('\0') != std::string::npos) RefusePath(path);
  if (text.empty() || text.front() != '/') {
    text = m_options.pagePath.substr(0, m_options.pagePath.rfind('/') + 1) + text;
  }
  std::string normal;
  if (text.empty() || text.front() != '/' || !NormalisePath(text, normal)) RefusePath(path);
  const std::string& root = m_options.root;
  if (normal == root) return {};
  if (!root.empty() && root != "/") {
    if (normal.compare(0, root.size() + 1, root + "/") != 0) RefusePath(path);
    normal.erase(0, root.size());
  }
  return normal.substr(1);
}

String Server::MapPath(const String& path) {
  const std::string inside = InsidePages(path);
  const std::filesystem::path file = inside.empty() ? m_options.pagesFolder : m_options.pagesFolder / inside;
  return varnel::FromUtf8(file.string());
}

ObjectPtr Server::CreateObject(const String& progID) {
  return Required(m_options.createObject, u"CreateObject")(progID);
}

void Server::Execute(const String& path) { Required(m_options.execute, u"Execute")(InsidePages(path)); }

void Server::Transfer(const String& path) {
  Execute(path);
  if (m_options.endPage) m_options.endPage();
}

void Server::SetScriptTimeout(Long seconds) {
  if (seconds < 1) RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"ScriptTimeout");
  m_options.scriptTimeout = seconds;
  if (m_options.setScriptTimeout) m_options.setScriptTimeout(seconds);
}

}  // namespace hostlinux
