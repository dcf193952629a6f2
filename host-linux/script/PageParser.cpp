#include "host-linux/script/PageParser.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/Utf8.h"

namespace hostlinux {
namespace {

constexpr std::size_t kMaxIncludes = 10'000;
constexpr std::size_t kMaxDepth = 100;
constexpr std::size_t kMaxText = 64 * 1024 * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// True for a block that says it ends with -%>. Without the blank it may be a script's own decrement.
bool TakesLineBreak(std::string_view block) {
  return block.size() > 1 && block.back() == '-' && IsBlank(block[block.size() - 2]);
}

// The length of the line break that `text` begins with; 0 without one.
std::size_t LineBreakLength(std::string_view text) {
  if (text.starts_with("\r\n")) return 2;
  return text.starts_with('\n') || text.starts_with('\r') ? 1 : 0;
}

// Reads words and marks off the front of a short text: a directive, an include.
class Reader {
 public:
  explicit Reader(std::string_view text) : m_text(text) {}

  std::size_t Position() const { return m_at; }
  bool AtEnd() const { return m_at == m_text.size(); }

  bool SkipBlanks() {
    const std::size_t before = m_at;
    while (!AtEnd() && IsBlank(m_text[m_at])) ++m_at;
    return m_at != before;
  }
  bool Take(std::string_view mark) {
    if (!EqualsIgnoreCase(m_text.substr(m_at, mark.size()), mark)) return false;
    m_at += mark.size();
    return true;
  }
  std::string_view TakeWord() {
    return TakeWhile([](char c) { return !IsBlank(c) && c != '='; });
  }
  // A value in quotes, or without them up to a blank; nothing where a quote is not closed.
  std::optional<std::string_view> TakeValue() {
    if (!AtEnd() && (m_text[m_at] == '"' || m_text[m_at] == '\'')) return TakeQuoted();
    return TakeWhile([](char c) { return !IsBlank(c); });
  }
  std::optional<std::string_view> TakeQuoted() {
    if (AtEnd() || (m_text[m_at] != '"' && m_text[m_at] != '\'')) return std::nullopt;
    const std::size_t end = m_text.find(m_text[m_at], m_at + 1);
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view value = m_text.substr(m_at + 1, end - m_at - 1);
    m_at = end + 1;
    return value;
  }

 private:
  template <class Test>
  std::string_view TakeWhile(Test test) {
    const std::size_t begin = m_at;
    while (!AtEnd() && test(m_text[m_at])) ++m_at;
    return m_text.substr(begin, m_at - begin);
  }

  std::string_view m_text;
  std::size_t m_at = 0;
};

std::optional<int> ToInteger(std::string_view text) {
  int value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size() || value < 0) return std::nullopt;
  return value;
}

// `path` without "." and ".."; nothing where it leads above its beginning or names nothing.
std::optional<std::string> Normalise(const std::string& path) {
  std::vector<std::string> parts;
  for (std::size_t at = 0; at <= path.size();) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    const std::string part = path.substr(at, end - at);
    at = end + 1;
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      parts.push_back(part);
    } else if (parts.empty()) {
      return std::nullopt;
    } else {
      parts.pop_back();
    }
  }
  std::string result;
  for (const std::string& part : parts) result += (result.empty() ? "" : "/") + part;
  return result;
}

std::string FolderOf(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  return slash == std::string::npos ? std::string() : name.substr(0, slash + 1);
}

struct Include {
  bool isVirtual = false;
  std::string target;
  std::size_t length = 0;  // of the whole comment
};

class Parser {
 public:
  Parser(const PageFiles& files, const std::string& siteRoot) : m_files(files), m_siteRoot(siteRoot) {}

  ParsedPage Run(const std::string& name) {
    std::optional<std::string> text = m_files.Read(name);
    if (!text) throw PageError(name, 0, "The page was not found.");
    m_page.lastLine = 1 + CountLineEnds(*text);
    ParseFile(name, *text);
    return std::move(m_page);
  }

 private:
  // The file being read; `line` is that of the character at `at`.
  struct Place {
    const std::string& name;
    std::string_view text;
    int file;
    std::size_t at = 0;
    int line = 1;
  };

  [[noreturn]] static void Fail(const Place& place, const std::string& message) {
    throw PageError(place.name, place.line, message);
  }

  void ParseFile(const std::string& name, std::string_view text) {
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    Place place{name, text, FileIndex(name)};
    m_open.push_back(name);
    CheckText(place);
    while (place.at < place.text.size()) {
      AddHtml(place, FindMark(place));
      if (place.at == place.text.size()) break;
      place.text[place.at + 1] == '%' ? ParseBlock(place) : ParseInclude(place);
    }
    m_open.pop_back();
  }

  void CheckText(Place place) {
    m_size += place.text.size();
    if (m_size > kMaxText) Fail(place, "The page and its includes are longer than 64 MB.");
    const std::size_t bad = FindBadUtf8(place.text);
    if (bad == std::string_view::npos) return;
    Advance(place, bad);
    Fail(place, "The text is not valid UTF-8.");
  }

  int FileIndex(const std::string& name) {
    const auto found = std::find(m_page.files.begin(), m_page.files.end(), name);
    const auto index = static_cast<int>(found - m_page.files.begin());
    if (found == m_page.files.end()) m_page.files.push_back(name);
    return index;
  }

  static void Advance(Place& place, std::size_t length) {
    place.line += CountLineEnds(place.text.substr(place.at, length));
    place.at += length;
  }

  // The position of the next block or include, or the end of the text.
  static std::size_t FindMark(const Place& place) {
    std::size_t at = place.at;
    while ((at = place.text.find('<', at)) != std::string_view::npos) {
      const std::string_view rest = place.text.substr(at);
      if (rest.starts_with("<%") || IsInclude(rest)) return at;
      ++at;
    }
    return place.text.size();
  }

  static bool IsInclude(std::string_view text) {
    Reader reader(text);
    if (!reader.Take("<!--")) return false;
    reader.SkipBlanks();
    return reader.Take("#include");
  }

  void AddHtml(Place& place, std::size_t end) {
    if (end > place.at) AddPiece(place, PagePiece::Kind::Html, place.text.substr(place.at, end - place.at));
    Advance(place, end - place.at);
  }

  void AddPiece(const Place& place, PagePiece::Kind kind, std::string_view text) {
    m_page.pieces.push_back({kind, std::string(text), place.file, place.line});
  }

  void ParseBlock(Place& place) {
    const std::size_t begin = place.at + 2;
    const std::size_t end = place.text.find("%>", begin);
    if (end == std::string_view::npos) Fail(place, "The script block that begins here is not closed by %>.");
    std::string_view text = place.text.substr(begin, end - begin);
    std::size_t behind = end + 2;
    if (TakesLineBreak(text)) {
      text.remove_suffix(1);
      behind += LineBreakLength(place.text.substr(behind));
    }
    if (text.starts_with('@')) {
      ParseDirectives(place, text.substr(1));
    } else if (text.starts_with('=')) {
      AddExpression(place, PagePiece::Kind::Expression, text);
    } else if (text.starts_with(':')) {
      AddExpression(place, PagePiece::Kind::Encoded, text);
    } else {
      AddPiece(place, PagePiece::Kind::Statements, text);
    }
    Advance(place, behind - place.at);
  }

  // `text` begins with the sign that says how the value is written.
  void AddExpression(const Place& place, PagePiece::Kind kind, std::string_view text) {
    if (std::all_of(text.begin() + 1, text.end(), IsBlank))
      Fail(place, "An expression is missing after <%" + std::string(text.substr(0, 1)) + ".");
    AddPiece(place, kind, text.substr(1));
  }

  void ParseDirectives(const Place& place, std::string_view text) {
    Reader reader(text);
    for (reader.SkipBlanks(); !reader.AtEnd(); reader.SkipBlanks()) {
      Place here = place;
      here.line += CountLineEnds(text.substr(0, reader.Position()));
      const std::string_view name = reader.TakeWord();
      reader.SkipBlanks();
      if (!reader.Take("=")) Fail(here, "A directive needs the form Name=value.");
      reader.SkipBlanks();
      const auto value = reader.TakeValue();
      if (!value) Fail(here, "The value of the directive " + std::string(name) + " lacks its closing quote.");
      ApplyDirective(here, name, *value);
    }
  }

  static bool ReadFlag(const Place& place, std::string_view name, const std::string& value) {
    const bool on = EqualsIgnoreCase(value, "True");
    if (!on && !EqualsIgnoreCase(value, "False"))
      Fail(place, std::string(name) + " must be True or False, not '" + value + "'.");
    return on;
  }

  void ApplyDirective(const Place& place, std::string_view name, std::string_view value) {
    const std::string text(value);
    if (EqualsIgnoreCase(name, "Language")) {
      if (!EqualsIgnoreCase(value, "JavaScript"))
        Fail(place, "Language must be JavaScript, not '" + text + "'.");
    } else if (EqualsIgnoreCase(name, "CodePage")) {
      if (value != "65001") Fail(place, "CodePage must be 65001, not '" + text + "'.");
    } else if (EqualsIgnoreCase(name, "LCID")) {
      m_page.directives.lcid = ToInteger(value);
      if (!m_page.directives.lcid) Fail(place, "LCID must be a locale's number, not '" + text + "'.");
    } else if (EqualsIgnoreCase(name, "EnableSessionState")) {
      m_page.directives.sessionState = ReadFlag(place, name, text);
    } else if (EqualsIgnoreCase(name, "FormToken")) {
      m_page.directives.formToken = ReadFlag(place, name, text);
    } else {
      Fail(place, "The directive '" + std::string(name) + "' is not known.");
    }
  }

  void ParseInclude(Place& place) {
    const Include include = ReadInclude(place);
    const std::string name = ResolveInclude(place, include);
    if (std::find(m_open.begin(), m_open.end(), name) != m_open.end())
      Fail(place, "The include '" + include.target + "' includes itself.");
    if (m_open.size() > kMaxDepth) Fail(place, "Includes are nested more than 100 deep.");
    if (++m_includes > kMaxIncludes) Fail(place, "The page has more than 10,000 includes.");
    const std::optional<std::string> text = m_files.Read(name);
    if (!text) Fail(place, "The include '" + include.target + "' was not found.");
    ParseFile(name, *text);
    Advance(place, include.length);
  }

  static Include ReadInclude(const Place& place) {
    Reader reader(place.text.substr(place.at));
    Include include;
    reader.Take("<!--");
    reader.SkipBlanks();
    reader.Take("#include");
    reader.SkipBlanks();
    include.isVirtual = reader.Take("virtual");
    const bool known = include.isVirtual || reader.Take("file");
    reader.SkipBlanks();
    const bool equals = reader.Take("=");
    reader.SkipBlanks();
    const auto target = reader.TakeQuoted();
    reader.SkipBlanks();
    if (!known || !equals || !target || !reader.Take("-->"))
      Fail(place,
           "An include has the form <!--#include file=\"name\"--> or <!--#include virtual=\"/name\"-->.");
    include.target = std::string(*target);
    include.length = reader.Position();
    return include;
  }

  std::string ResolveInclude(const Place& place, const Include& include) const {
    std::string target = include.target;
    std::replace(target.begin(), target.end(), '\\', '/');
    if (include.isVirtual) {
      if (!m_siteRoot.empty() && target.starts_with(m_siteRoot + "/")) target.erase(0, m_siteRoot.size());
    } else if (target.starts_with('/')) {
      Fail(place,
           "The include file '" + include.target + "' must be relative; from the site's root it is virtual.");
    } else {
      target = FolderOf(place.name) + target;
    }
    const auto name = Normalise(target);
    if (!name) Fail(place, "The include '" + include.target + "' lies outside the pages folder.");
    return *name;
  }

  const PageFiles& m_files;
  const std::string& m_siteRoot;
  ParsedPage m_page;
  std::vector<std::string> m_open;  // the files being read, outermost first
  std::size_t m_includes = 0;
  std::size_t m_size = 0;
};

}  // namespace

int CountLineEnds(std::string_view text) {
  int count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool loneReturn = text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n');
    if (text[i] == '\n' || loneReturn) ++count;
  }
  return count;
}

ParsedPage ParsePage(const std::string& name, const PageFiles& files, const std::string& siteRoot) {
  return Parser(files, siteRoot).Run(name);
}

}  // namespace hostlinux
