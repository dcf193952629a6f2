// The position of a list, as it travels in a link: which rows to read next, and what is known of them.
// Grammar and examples: docs/formats/list-position.md.
#pragma once

#include <optional>
#include <vector>

#include "varnel/automation/Variant.h"

namespace varnel {

// How many rows a list has.
struct ListTotal {
  Long rows = -1;           // -1: nobody knows
  bool isMore = false;      // there are more than that
  bool isEstimate = false;  // about as many

  bool IsKnown() const { return rows >= 0; }
  bool IsExact() const { return rows >= 0 && !isMore && !isEstimate; }
  bool operator==(const ListTotal&) const = default;
};

struct ListPosition {
  enum class Move : char16_t { First = u'f', Next = u'n', Previous = u'p', Last = u'l' };

  Move move = Move::First;
  Long skipped = 0;      // whole pages between the anchor row and the page
  Long firstRecord = 1;  // the number, from 1, of the page's first row; 0: nobody knows
  ListTotal total;
  std::uint32_t context = 0;  // of the choices that the position was made for
  std::vector<Variant> keys;  // of the anchor row, one for each column of the sort: String or Null

  bool IsBackward() const { return move == Move::Previous || move == Move::Last; }
  bool HasAnchor() const { return move == Move::Next || move == Move::Previous; }
  bool operator==(const ListPosition&) const = default;
};

// ASCII letters, digits, "-", "_", "~" and "." only: it needs no encoding in an address. Keys may be of any length.
String WriteListPosition(const ListPosition& position);

// The position that `text` says, which may bear a seal behind it; nothing for any other text.
std::optional<ListPosition> ReadListPosition(StringView text);

// The keys of a row as one text of the same letters, and back; nothing for a text that says none.
String WriteListKeys(const std::vector<Variant>& keys);
std::optional<std::vector<Variant>> ReadListKeys(StringView text);

// A number that tells `text` from others.
std::uint32_t ContextOf(StringView text);

}  // namespace varnel
