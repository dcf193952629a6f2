#include "host-linux/guard/ListGuard.h"

#include <algorithm>

#include "host-linux/guard/PlainColumns.h"
#include "host-linux/web/UrlPath.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

using varnel::String;
using varnel::host::StateInUse;

namespace {

[[noreturn]] void RaiseInvalid(varnel::StringView what) {
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, what);
}

// Of a name in a reason for the log: a visitor's text may be long.
constexpr std::size_t kShownOfName = 80;

}  // namespace

ListGuard::ListGuard(Options options) : m_options(std::move(options)), m_files{m_options.file} {}

// The path below the pages: "list.asp", "/shop/list.asp" and, where it is the default page, "/shop/" are one.
std::string ListGuard::FileOf(const String& path) const {
  std::string text = varnel::ToUtf8(path);
  const std::string& root = m_options.root;
  if (text == root || text.starts_with(root + "/")) {
    text.erase(0, root.size());
  } else if (text.starts_with("/")) {
    RaiseInvalid(u"\"" + path + u"\" is no path of the site");
  }
  std::string normal;
  const bool isPath = text.find('\0') == std::string::npos && NormalisePath("/" + text, normal);
  if (!isPath) RaiseInvalid(u"\"" + path + u"\" is no path of the site");
  std::string file = normal.substr(1);
  if (file.empty() || file.ends_with("/")) file += m_options.defaultPage;
  return file;
}

String ListGuard::Sealed(const String& text, std::string_view file, const String& recordset) const {
  if (!IsSealed()) return text;
  const std::string name = varnel::ToUtf8(recordset);
  auto sealed = WithSeal(text, {file, name}, m_options.keys->front());
  if (!sealed) RaiseInvalid(u"a state text has ASCII characters only");
  return std::move(*sealed);
}

String ListGuard::Leaving(const String& text, const String& recordset) {
  return Sealed(text, m_options.file, recordset);
}

String ListGuard::LeavingFor(const String& text, const String& file, const String& recordset) {
  return Sealed(text, FileOf(file), recordset);
}

void ListGuard::AcceptStatesOf(const String& file) { m_files.push_back(FileOf(file)); }

void ListGuard::Admit(const StateInUse& use) { IsSealed() ? CheckSeal(use) : CheckColumns(use); }

void ListGuard::CheckSeal(const StateInUse& use) {
  const std::string name = varnel::ToUtf8(use.recordset);
  const bool isOurs = std::any_of(m_files.begin(), m_files.end(), [&](const std::string& file) {
    return HasSeal(use.text, {file, name}, *m_options.keys);
  });
  if (!isOurs) Refuse(String(use.recordset) + u": a state text without the seal of this page");
}

void ListGuard::CheckColumns(const StateInUse& use) {
  const bool isNamed = use.isDeclared || std::find(m_allowedSorts.begin(), m_allowedSorts.end(), use.sort) !=
                                             m_allowedSorts.end();
  if (isNamed) return;
  for (const String& column : use.columns) {
    if (IsPlainColumn(column, use.branches)) continue;
    Refuse(String(use.recordset) + u": a sort by \"" + column.substr(0, kShownOfName) +
           u"\", which is no column of the list");
  }
}

// All guards of a process have the same keys.
String ListGuard::Basis() const {
  String basis;
  const auto add = [&](const String& text) {
    basis += varnel::DecimalText(static_cast<std::int64_t>(text.size())) + u":" + text;
  };
  for (const std::string& file : m_files) add(varnel::FromUtf8(file));
  basis += u";";
  for (const String& sort : m_allowedSorts) add(sort);
  return basis;
}

void ListGuard::Refuse(const String& reason) {
  if (!m_refusal) m_refusal = varnel::ToUtf8(reason);
  if (m_options.endPage) m_options.endPage();
  throw varnel::PageEnded();
}

}  // namespace hostlinux
