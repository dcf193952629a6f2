#include "site/loader/Keywords.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "site/loader/Utf8Text.h"

namespace shop {
namespace {

bool IsWordCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}

[[noreturn]] void Fail(std::size_t line, const char* what) {
  throw std::runtime_error("keywords, line " + std::to_string(line) + ": " + what);
}

// Cuts `text` at `separator`; there is always at least one piece.
std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (;;) {
    const std::size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

std::vector<std::string> WordsOf(std::string_view text) {
  const std::string folded = FoldCase(text);
  std::vector<std::string> words;
  std::string word;
  for (const char c : folded + " ") {
    if (IsWordCharacter(c)) {
      word += c;
    } else if (!word.empty()) {
      words.push_back(std::exchange(word, {}));
    }
  }
  return words;
}

Keywords Keywords::Parse(std::string_view text) {
  Keywords keywords;
  std::size_t number = 0;
  for (const std::string_view line : Split(text, '\n')) {
    ++number;
    if (line.empty() || line.front() == '#') continue;
    const std::size_t tab = line.find('\t');
    if (tab == std::string_view::npos) Fail(number, "no tab between the kind and its keywords");
    if (tab == 0) Fail(number, "no kind");
    keywords.m_kinds.emplace_back(line.substr(0, tab));
    for (const std::string_view piece : Split(line.substr(tab + 1), '|')) {
      keywords.AddKeyword(keywords.m_kinds.size() - 1, piece, number);
    }
  }
  return keywords;
}

void Keywords::AddKeyword(std::size_t kind, std::string_view text, std::size_t line) {
  Keyword keyword{kind, WordsOf(text), text.ends_with('*')};
  if (keyword.words.empty()) Fail(line, "a keyword without a word");
  if (keyword.openEnd && keyword.words.size() == 1) {
    m_openWords.push_back(std::move(keyword));
    return;
  }
  m_byFirstWord[keyword.words.front()].push_back(std::move(keyword));
}

bool Keywords::StandsAt(const Keyword& keyword, const std::vector<std::string>& words, std::size_t at) {
  if (words.size() - at < keyword.words.size()) return false;
  const std::size_t last = keyword.words.size() - 1;
  for (std::size_t i = 0; i < last; ++i) {
    if (words[at + i] != keyword.words[i]) return false;
  }
  const std::string& end = words[at + last];
  return keyword.openEnd ? end.starts_with(keyword.words[last]) : end == keyword.words[last];
}

std::optional<std::size_t> Keywords::KindOf(std::string_view name) const {
  const std::vector<std::string> words = WordsOf(name);
  std::size_t best = m_kinds.size();
  const auto consider = [&](const std::vector<Keyword>& keywords, std::size_t at) {
    for (const Keyword& keyword : keywords) {
      if (keyword.kind < best && StandsAt(keyword, words, at)) best = keyword.kind;
    }
  };
  for (std::size_t at = 0; at < words.size(); ++at) {
    const auto found = m_byFirstWord.find(words[at]);
    if (found != m_byFirstWord.end()) consider(found->second, at);
    consider(m_openWords, at);
  }
  if (best == m_kinds.size()) return std::nullopt;
  return best;
}

}  // namespace shop
