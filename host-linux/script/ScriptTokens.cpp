#include "host-linux/script/ScriptTokens.h"

#include <algorithm>
#include <array>

#include "host-linux/base/Ascii.h"

namespace hostlinux {

namespace {

// The longest first.
constexpr std::array<std::string_view, 33> kSigns = {
    ">>>=", "===", "!==", "**=", "<<=", ">>=", ">>>", "...", "&&=", "||=", "?\?=",
    "=>",   "==",  "!=",  "<=",  ">=",  "&&",  "||",  "??",  "?.",  "++",  "--",
    "+=",   "-=",  "*=",  "/=",  "%=",  "&=",  "|=",  "^=",  "<<",  ">>",  "**"};

bool IsWordPart(char c) {
  return IsAlphanumeric(c) || c == '_' || c == '$' || (static_cast<unsigned char>(c) & 0x80) != 0;
}

class Tokenizer {
 public:
  explicit Tokenizer(std::string_view script) : m_script(script) {}

  std::vector<ScriptToken> Run() {
    ReadUntil('\0');
    return std::move(m_tokens);
  }

 private:
  using Kind = ScriptToken::Kind;

  bool AtEnd() const { return m_at >= m_script.size(); }
  char Now() const { return m_script[m_at]; }
  bool Sees(std::string_view text) const { return m_script.substr(m_at, text.size()) == text; }

  void Step() {
    if (Now() == '\n') ++m_line;
    ++m_at;
  }

  void Add(Kind kind, std::string_view text) { m_tokens.push_back({kind, std::string(text), m_line}); }

  // Up to the brace that closes a template's value where `closing` is one, else to the end.
  void ReadUntil(char closing) {
    int depth = 0;
    while (!AtEnd()) {
      if (closing != '\0' && depth == 0 && Now() == closing) return;
      if (Now() == '{') ++depth;
      if (Now() == '}') --depth;
      ReadOne();
    }
  }

  void ReadOne() {
    const char c = Now();
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') return Step();
    if (Sees("//")) return SkipUntil("\n");
    if (Sees("/*")) return SkipUntil("*/");
    if (c == '"' || c == '\'') return ReadText(c);
    if (c == '`') return ReadTemplate();
    if (c == '/' && BeginsPattern()) return ReadPattern();
    if (IsWordPart(c)) return ReadWord();
    ReadSign();
  }

  void SkipUntil(std::string_view end) {
    const std::size_t found = std::min(m_script.find(end, m_at), m_script.size());
    const std::size_t behind = std::min(found + end.size(), m_script.size());
    while (m_at < behind) Step();
  }

  void ReadWord() {
    const std::size_t begin = m_at;
    while (!AtEnd() && IsWordPart(Now())) ++m_at;
    Add(Kind::Word, m_script.substr(begin, m_at - begin));
  }

  void ReadSign() {
    const auto known =
        std::find_if(kSigns.begin(), kSigns.end(), [&](std::string_view sign) { return Sees(sign); });
    const std::size_t length = known == kSigns.end() ? 1 : known->size();
    Add(Kind::Operator, m_script.substr(m_at, length));
    m_at += length;
  }

  // A literal up to `quote`, which a backslash may stand before.
  void ReadText(char quote) {
    Step();
    const std::size_t begin = m_at;
    while (!AtEnd() && Now() != quote) {
      if (Now() == '\\') Step();
      if (!AtEnd()) Step();
    }
    Add(Kind::Text, m_script.substr(begin, m_at - begin));
    if (!AtEnd()) Step();
  }

  void ReadTemplate() {
    Step();
    Add(Kind::Text, "");
    while (!AtEnd() && Now() != '`') {
      if (Sees("${")) {
        ReadTemplateValue();
        continue;
      }
      if (Now() == '\\') Step();
      if (!AtEnd()) Step();
    }
    if (!AtEnd()) Step();
  }

  void ReadTemplateValue() {
    m_at += 2;
    Add(Kind::Operator, "+");
    Add(Kind::Operator, "(");
    // Templates inside each other would need a stack as deep: nobody writes them so.
    constexpr int kMostNested = 20;
    if (++m_nested < kMostNested) ReadUntil('}');
    --m_nested;
    Add(Kind::Operator, ")");
    if (!AtEnd()) Step();
  }

  // Behind a value a slash divides.
  bool BeginsPattern() const {
    if (m_tokens.empty()) return true;
    const ScriptToken& last = m_tokens.back();
    if (last.kind == Kind::Operator) return !last.Is(")") && !last.Is("]") && !last.Is("}");
    return last.IsWord("return") || last.IsWord("typeof") || last.IsWord("case") || last.IsWord("in");
  }

  void ReadPattern() {
    Step();
    bool inClass = false;
    while (!AtEnd() && Now() != '\n' && (inClass || Now() != '/')) {
      if (Now() == '[') inClass = true;
      if (Now() == ']') inClass = false;
      if (Now() == '\\') Step();
      if (!AtEnd()) Step();
    }
    Add(Kind::Text, "");
    if (!AtEnd()) Step();
    while (!AtEnd() && IsAlphanumeric(Now())) ++m_at;
  }

  std::string_view m_script;
  std::size_t m_at = 0;
  int m_line = 0;
  int m_nested = 0;
  std::vector<ScriptToken> m_tokens;
};

}  // namespace

std::vector<ScriptToken> TokensOf(std::string_view script) { return Tokenizer(script).Run(); }

}  // namespace hostlinux
