// Bytes of unknown goodness to text that a database and a browser take.
#pragma once

#include <string>
#include <string_view>

namespace shop {

// `bytes` as valid UTF-8. Well-formed sequences stay as they are; a byte that belongs to none is read as
// ISO 8859-1, as older entries of the lists were typed, and as U+FFFD where that has no printable character.
std::string MakeValidUtf8(std::string_view bytes);

// `text` cut to at most `limit` characters; `text` must be valid UTF-8.
std::string CutToCharacters(std::string_view text, std::size_t limit);

// `text` with A to Z in lower case. Two texts are equal, or in order, to the database's NOCASE exactly if
// they are so in this form.
std::string FoldCase(std::string_view text);

}  // namespace shop
