// The position of a recordset in its query, as it travels from request to request.
#pragma once

#include <vector>

#include "varnel/automation/Variant.h"

namespace varnel {

// The kinds of read that a state asks for.
namespace nav_type {
inline constexpr Integer kNone = -1;
inline constexpr Integer kFirst = 0;
inline constexpr Integer kNext = 1;
inline constexpr Integer kPrevious = 2;
inline constexpr Integer kLast = 3;
}  // namespace nav_type

struct PersistedState {
  Integer NavType = nav_type::kNone;
  Long TotalRecords = 0;           // -1 while unknown, a lower bound while counting is off
  Long FirstRecord = 0;            // record number, from 1, of the first row of the page to read
  String SortFields;               // "col [ASC or DESC], col ..."
  bool SortReversed = false;       // the whole sort is read the other way around
  std::vector<Variant> KeyValues;  // of the anchor row, one per sort column: String or Null
  Long DisplayPage = 0;            // the page on which this state was made
  Long LeftPage = 0;               // the window of page links
  Long RightPage = 0;
  Long JumpPage = 0;  // page to jump to, 0 for none; read from page links, never written

  bool operator==(const PersistedState&) const = default;

  // Only the reads that go on from an anchor row carry its keys.
  bool HasKeys() const { return NavType == nav_type::kNext || NavType == nav_type::kPrevious; }
};

}  // namespace varnel
