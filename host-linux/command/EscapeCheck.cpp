#include "host-linux/command/EscapeCheck.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <span>

#include "host-linux/base/Ascii.h"
#include "host-linux/script/ScriptTokens.h"

namespace hostlinux {

namespace {

using Kind = ScriptToken::Kind;
using Tokens = std::span<const ScriptToken>;

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// Expressions inside each other beyond this are nobody's.
constexpr int kMostNested = 100;

constexpr std::size_t kMostShown = 60;  // bytes of an expression

enum class Source { None, Request, Field, Recordset };

using Words = std::set<std::string, std::less<>>;

// Members whose value nobody can write HTML into.
const Words& PlainMembers() {
  static const Words words = {
      "length",     "Count",       "TotalBytes",   "Number",      "Date",       "ValueCount", "toFixed",
      "indexOf",    "lastIndexOf", "search",       "startsWith",  "endsWith",   "includes",   "localeCompare",
      "charCodeAt", "codePointAt", "getTime",      "getFullYear", "getMonth",   "getDate",    "getDay",
      "getHours",   "getMinutes",  "getSeconds",   "toISOString", "BinaryRead", "ActualSize", "DefinedSize",
      "Type",       "Precision",   "NumericScale", "FormToken"};
  return words;
}

// Functions that hand on the text that they are given.
bool HandsOn(std::string_view function) {
  static const Words words = {"String", "CStr", "decodeURIComponent", "decodeURI", "unescape"};
  return words.contains(function);
}

bool IsComparison(const ScriptToken& token) {
  static const Words signs = {"==", "===", "!=", "!==", "<", ">", "<=", ">="};
  return (token.kind == Kind::Operator && signs.contains(token.text)) || token.IsWord("instanceof") ||
         token.IsWord("in");
}

bool IsArithmetic(const ScriptToken& token) {
  static const Words signs = {"-", "*", "/",  "%",  "**",  "~",  "!", "&",
                              "|", "^", "<<", ">>", ">>>", "++", "--"};
  return (token.kind == Kind::Operator && signs.contains(token.text)) || token.IsWord("typeof") ||
         token.IsWord("new") || token.IsWord("void") || token.IsWord("function");
}

bool Opens(const ScriptToken& token) { return token.Is("(") || token.Is("[") || token.Is("{"); }
bool Closes(const ScriptToken& token) { return token.Is(")") || token.Is("]") || token.Is("}"); }

// The first token outside of all brackets that `test` takes; kNone without one.
template <class Test>
std::size_t FindOutside(Tokens tokens, Test test) {
  int depth = 0;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (depth == 0 && !Opens(tokens[i]) && test(tokens[i])) return i;
    if (Opens(tokens[i])) ++depth;
    if (Closes(tokens[i])) --depth;
  }
  return kNone;
}

std::size_t FindSign(Tokens tokens, std::string_view sign) {
  return FindOutside(tokens, [&](const ScriptToken& token) { return token.Is(sign); });
}

// Where the bracket that opens at `open` closes; the end where it doesn't.
std::size_t ClosingOf(Tokens tokens, std::size_t open) {
  int depth = 0;
  for (std::size_t i = open; i < tokens.size(); ++i) {
    if (Opens(tokens[i])) ++depth;
    if (Closes(tokens[i]) && --depth == 0) return i;
  }
  return tokens.size();
}

// What is known of a page's variables, as far as it was read.
class Values {
 public:
  explicit Values(Tokens script) { FindRecordsets(script); }

  Source Of(Tokens expression) { return OfExpression(expression, 0); }

  // Takes note of what the statements give to variables.
  void Read(Tokens statements) {
    for (std::size_t i = 0; i < statements.size(); ++i) ReadAt(statements, i);
  }

 private:
  // A recordset is what a page walks through.
  void FindRecordsets(Tokens script) {
    for (std::size_t i = 0; i + 2 < script.size(); ++i) {
      const bool walked =
          script[i + 1].Is(".") && (script[i + 2].IsWord("MoveNext") || script[i + 2].IsWord("OpenRS"));
      if (walked && script[i].kind == Kind::Word) m_recordsets.insert(script[i].text);
    }
  }

  void ReadAt(Tokens tokens, std::size_t at) {
    const bool isName = tokens[at].kind == Kind::Word && (at == 0 || !tokens[at - 1].Is("."));
    if (!isName || at + 1 >= tokens.size()) return;
    const ScriptToken& next = tokens[at + 1];
    if (next.Is("=") || next.Is("+=") || next.IsWord("of")) {
      const Tokens value = ValueBehind(tokens.subspan(at + 2));
      Assign(tokens[at].text, OfExpression(value, 0), next.Is("=") && Mentions(value, tokens[at].text));
    }
  }

  // Up to the end of the statement, of the declaration, or of the brackets around it.
  static Tokens ValueBehind(Tokens tokens) {
    int depth = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      if (depth == 0 && (tokens[i].Is(";") || tokens[i].Is(",") || Closes(tokens[i]))) return tokens.first(i);
      if (depth == 0 && i > 0 && EndsLine(tokens[i - 1], tokens[i])) return tokens.first(i);
      if (Opens(tokens[i])) ++depth;
      if (Closes(tokens[i])) --depth;
    }
    return tokens;
  }

  // Two values on two lines, with nothing that joins them.
  static bool EndsLine(const ScriptToken& last, const ScriptToken& next) {
    const bool isValue = last.kind != Kind::Operator || Closes(last);
    return isValue && next.line > last.line && next.kind != Kind::Operator;
  }

  static bool Mentions(Tokens tokens, std::string_view name) {
    return std::any_of(tokens.begin(), tokens.end(),
                       [&](const ScriptToken& token) { return token.IsWord(name); });
  }

  // A variable that got a visitor's text once keeps it, unless it is made of itself: it was encoded then.
  void Assign(const std::string& name, Source source, bool isOfItself) {
    if (source == Source::Request || source == Source::Field) {
      m_variables[name] = source;
    } else if (isOfItself) {
      m_variables.erase(name);
    }
  }

  Source OfAny(Tokens first, Tokens second, int depth) {
    const Source source = OfExpression(first, depth + 1);
    return source != Source::None && source != Source::Recordset ? source : OfExpression(second, depth + 1);
  }

  Source OfExpression(Tokens tokens, int depth) {
    if (tokens.empty() || depth > kMostNested) return Source::None;
    if (const auto at = FindSign(tokens, "=>"); at != kNone) return Source::None;
    if (const auto at = FindSign(tokens, "="); at != kNone)
      return OfExpression(tokens.subspan(at + 1), depth + 1);
    if (const auto at = FindSign(tokens, "?"); at != kNone) return OfChoice(tokens.subspan(at + 1), depth);
    for (const char* sign : {"||", "??"})
      if (const auto at = FindSign(tokens, sign); at != kNone)
        return OfAny(tokens.first(at), tokens.subspan(at + 1), depth);
    if (const auto at = FindSign(tokens, "&&"); at != kNone)
      return OfExpression(tokens.subspan(at + 1), depth + 1);
    if (FindOutside(tokens, IsComparison) != kNone) return Source::None;
    if (const auto at = FindSign(tokens, "+"); at != kNone && at > 0)
      return OfAny(tokens.first(at), tokens.subspan(at + 1), depth);
    if (FindOutside(tokens, IsArithmetic) != kNone || tokens[0].Is("+")) return Source::None;
    return OfChain(tokens, depth);
  }

  Source OfChoice(Tokens tokens, int depth) {
    const auto colon = FindSign(tokens, ":");
    if (colon == kNone) return Source::None;
    return OfAny(tokens.first(colon), tokens.subspan(colon + 1), depth);
  }

  // A value and the members and calls behind it: rs("NAME").Value.trim().
  Source OfChain(Tokens tokens, int depth) {
    std::size_t at = 0;
    Source source = OfFirst(tokens, at, depth);
    while (at < tokens.size()) {
      if (tokens[at].Is(".") || tokens[at].Is("?.")) {
        if (at + 1 < tokens.size()) source = OfMember(source, tokens[at + 1].text);
        at += 2;
      } else if (tokens[at].Is("(") || tokens[at].Is("[")) {
        if (source == Source::Recordset) source = Source::Field;
        at = ClosingOf(tokens, at) + 1;
      } else {
        return Source::None;
      }
    }
    return source == Source::Recordset ? Source::None : source;
  }

  // The value that the chain begins with; `at` moves behind it.
  Source OfFirst(Tokens tokens, std::size_t& at, int depth) {
    const ScriptToken& first = tokens[0];
    at = 1;
    if (first.Is("(") ||
        (first.kind == Kind::Word && HandsOn(first.text) && tokens.size() > 1 && tokens[1].Is("("))) {
      const std::size_t open = first.Is("(") ? 0 : 1;
      const std::size_t close = ClosingOf(tokens, open);
      at = close + 1;
      return OfExpression(tokens.subspan(open + 1, close - open - 1), depth + 1);
    }
    if (first.kind != Kind::Word) return Source::None;
    if (first.text == "Request") return Source::Request;
    if (m_recordsets.contains(first.text)) return Source::Recordset;
    const auto known = m_variables.find(first.text);
    return known == m_variables.end() ? Source::None : known->second;
  }

  static Source OfMember(Source source, const std::string& member) {
    if (source == Source::Recordset) return member == "Fields" ? Source::Field : Source::None;
    if (source == Source::None) return member == "Fields" ? Source::Recordset : Source::None;
    return PlainMembers().contains(member) ? Source::None : source;
  }

  Words m_recordsets;
  std::map<std::string, Source> m_variables;
};

std::string Shown(std::string_view expression) {
  std::string text;
  for (const char c : expression) {
    const bool isBlank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
    if (!isBlank) text += c;
    if (isBlank && !text.empty() && text.back() != ' ') text += ' ';
  }
  while (!text.empty() && text.back() == ' ') text.pop_back();
  if (text.size() <= kMostShown) return text;
  std::size_t end = kMostShown;
  while (end > 0 && (text[end] & '\xC0') == '\x80') --end;
  return text.substr(0, end) + "...";
}

std::string Sentence(Source source, std::string_view expression) {
  const std::string text = Shown(expression);
  const std::string what = source == Source::Request ? "what a visitor sent" : "a field";
  return "<%= " + text + " %> writes " + what + " as it stands, marks of HTML too: <%: " + text +
         " %> encodes it";
}

std::vector<ScriptToken> TokensOfPieces(const ParsedPage& page) {
  std::vector<ScriptToken> all;
  for (const PagePiece& piece : page.pieces) {
    if (piece.kind == PagePiece::Kind::Html) continue;
    const std::vector<ScriptToken> tokens = TokensOf(piece.text);
    all.insert(all.end(), tokens.begin(), tokens.end());
  }
  return all;
}

}  // namespace

std::vector<UnescapedValue> FindUnescapedValues(const ParsedPage& page) {
  std::vector<UnescapedValue> found;
  Values values(TokensOfPieces(page));
  for (const PagePiece& piece : page.pieces) {
    if (piece.kind == PagePiece::Kind::Statements) values.Read(TokensOf(piece.text));
    if (piece.kind != PagePiece::Kind::Expression) continue;
    const std::vector<ScriptToken> tokens = TokensOf(piece.text);
    const Source source = values.Of(tokens);
    if (source == Source::None) continue;
    const auto before = piece.text.find_first_not_of(" \t\r\n");
    const int line = piece.line + CountLineEnds(std::string_view(piece.text).substr(0, before));
    found.push_back({piece.file, line, Sentence(source, piece.text)});
  }
  return found;
}

}  // namespace hostlinux
