#include "host-linux/database/dialect/LikePattern.h"

namespace hostlinux {
namespace {

// Characters compared between two looks at the clock; a class may be as long as the pattern.
constexpr size_t kStepsBetweenLooks = 1 << 16;
constexpr size_t kNone = std::u16string_view::npos;
constexpr std::u16string_view kNeverMatches = u"$x";  // nothing stands behind the end

char16_t Fold(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

// The position behind the class that opens at `open`, or kNone if it isn't closed. A "]" right at the
// beginning belongs to the class no more than elsewhere: it closes it.
size_t ClassEnd(std::u16string_view pattern, size_t open) {
  const size_t close = pattern.find(u']', open + 1);
  return close == kNone ? kNone : close + 1;
}

bool ClassMatches(std::u16string_view body, char16_t c) {
  const bool negated = !body.empty() && body.front() == u'^';
  if (negated) body.remove_prefix(1);
  bool found = false;
  for (size_t i = 0; i < body.size(); ++i) {
    const bool range = i + 2 < body.size() && body[i + 1] == u'-';
    const char16_t low = Fold(body[i]);
    const char16_t high = range ? Fold(body[i + 2]) : low;
    found = found || (Fold(c) >= low && Fold(c) <= high);
    if (range) i += 2;
  }
  return found != negated;
}

void AddEscaped(std::u16string& regex, char16_t c) {
  constexpr std::u16string_view kSpecial = u"\\^$.|?*+()[]{}-";
  if (kSpecial.find(c) != kNone) regex += u'\\';
  regex += c;
}

// A class without its brackets.
std::u16string ClassAsRegex(std::u16string_view body) {
  const bool negated = !body.empty() && body.front() == u'^';
  if (negated) body.remove_prefix(1);
  if (body.empty()) return std::u16string(negated ? u"." : kNeverMatches);
  std::u16string regex = negated ? u"[^" : u"[";
  for (size_t i = 0; i < body.size(); ++i) {
    const bool range = i + 2 < body.size() && body[i + 1] == u'-';
    if (range && body[i] > body[i + 2]) {  // which no character lies in
      i += 2;
      continue;
    }
    AddEscaped(regex, body[i]);
    if (!range) continue;
    regex += u'-';
    AddEscaped(regex, body[i + 2]);
    i += 2;
  }
  if (regex.size() == (negated ? 2U : 1U)) return std::u16string(negated ? u"." : kNeverMatches);
  return regex + u"]";
}

// One step of the pattern at `p` against `c`: the position behind it, or kNone if it doesn't match.
size_t MatchOne(std::u16string_view pattern, size_t p, char16_t c) {
  if (pattern[p] == u'_') return p + 1;
  if (pattern[p] != u'[') return Fold(pattern[p]) == Fold(c) ? p + 1 : kNone;
  const size_t end = ClassEnd(pattern, p);
  if (end == kNone) return kNone;
  return ClassMatches(pattern.substr(p + 1, end - p - 2), c) ? end : kNone;
}

}  // namespace

bool HasPatternClass(std::u16string_view pattern) { return pattern.find(u'[') != kNone; }

std::optional<std::u16string> PatternWithEscapes(std::u16string_view pattern) {
  std::u16string escaped;
  for (size_t i = 0; i < pattern.size(); ++i) {
    char16_t c = pattern[i];
    const bool isClass = c == u'[';
    if (isClass) {
      if (ClassEnd(pattern, i) != i + 3 || pattern[i + 1] == u'^') return std::nullopt;
      c = pattern[i + 1];
      i += 2;
    }
    if (c == u'\\' || (isClass && (c == u'%' || c == u'_'))) escaped += u'\\';
    escaped += c;
  }
  return escaped;
}

std::u16string PatternWithoutEscape(std::u16string_view pattern, char16_t escape) {
  std::u16string plain;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != escape || i + 1 >= pattern.size()) {
      plain += pattern[i];
      continue;
    }
    const char16_t c = pattern[++i];
    const bool special = c == u'%' || c == u'_' || c == u'[';
    plain += special ? std::u16string{u'[', c, u']'} : std::u16string{c};
  }
  return plain;
}

std::u16string PatternAsRegex(std::u16string_view pattern) {
  std::u16string regex = u"^";
  for (size_t i = 0; i < pattern.size(); ++i) {
    const char16_t c = pattern[i];
    if (c == u'%') {
      regex += u".*";
    } else if (c == u'_') {
      regex += u".";
    } else if (c != u'[') {
      AddEscaped(regex, c);
    } else {
      const size_t end = ClassEnd(pattern, i);
      if (end == kNone) return std::u16string(kNeverMatches);
      regex += ClassAsRegex(pattern.substr(i + 1, end - i - 2));
      i = end - 1;
    }
  }
  return regex + u"$";
}

// Greedy with one way back: only the last % has to be tried again, as an earlier one that gives up more
// can't make the rest match better.
std::optional<bool> MatchesPatternInTime(std::u16string_view text, std::u16string_view pattern,
                                         const std::function<bool()>& hasTime) {
  size_t steps = 0;
  size_t t = 0;
  size_t p = 0;
  size_t retryPattern = kNone;
  size_t retryText = 0;
  while (t < text.size()) {
    steps += p < pattern.size() && pattern[p] == u'[' ? pattern.size() - p : 1;
    if (steps >= kStepsBetweenLooks) {
      if (!hasTime()) return std::nullopt;
      steps = 0;
    }
    if (p < pattern.size() && pattern[p] == u'%') {
      retryPattern = ++p;
      retryText = t;
      continue;
    }
    const size_t next = p < pattern.size() ? MatchOne(pattern, p, text[t]) : kNone;
    if (next != kNone) {
      p = next;
      ++t;
      continue;
    }
    if (retryPattern == kNone) return false;
    p = retryPattern;
    t = ++retryText;
  }
  while (p < pattern.size() && pattern[p] == u'%') ++p;
  return p == pattern.size();
}

bool MatchesPattern(std::u16string_view text, std::u16string_view pattern) {
  return *MatchesPatternInTime(text, pattern, [] { return true; });
}

}  // namespace hostlinux
