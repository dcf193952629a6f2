// LIKE patterns of servers that know bracket classes: % any run, _ one character, [abc], [a-c], [^a-c].
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace hostlinux {

// True if `pattern` has a bracket, so that an engine without classes would take it literally.
bool HasPatternClass(std::u16string_view pattern);

// `pattern` for an engine that has only % and _ and `ESCAPE '\'`: [%], [_], [[] and every other class of one
// plain character become escapes or that character, a backslash is doubled. Nothing where a real class
// stands in it, one that matches more than one character or is turned by ^.
std::optional<std::u16string> PatternWithEscapes(std::u16string_view pattern);

// `pattern`, whose escape character is `escape`, with each escaped character as a class of its own:
// "50!%" with '!' gives "50[%]".
std::u16string PatternWithoutEscape(std::u16string_view pattern, char16_t escape);

// The regular expression that matches what `pattern` does, but for the case of letters: for an engine that has no classes in
// LIKE and knows Perl's escapes, with a dot that matches line breaks too.
std::u16string PatternAsRegex(std::u16string_view pattern);

// True if `text` matches `pattern`. ASCII letters match in either case, as the engine's own LIKE does. An
// unclosed class matches nothing. Takes time in proportion to the product of both lengths at most.
bool MatchesPattern(std::u16string_view text, std::u16string_view pattern);

// The same; nothing where `hasTime`, which is asked every now and then, says no.
std::optional<bool> MatchesPatternInTime(std::u16string_view text, std::u16string_view pattern,
                                         const std::function<bool()>& hasTime);

}  // namespace hostlinux
