// The part of a query that its count goes on with.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

struct CountTail {
  String tail;            // the FROM clause and the WHERE condition with their keywords, a blank in front
  bool distinct = false;  // the select list begins with DISTINCT
  bool grouped = false;   // there is a GROUP BY outside parentheses

  bool operator==(const CountTail&) const = default;

  // Whether "SELECT COUNT(*)" in front of the tail counts the rows of the query.
  bool CountsByItself() const { return !distinct && !grouped; }
};

// The tail of `iSql`, which is left as it is. Raises 9 for a text without any word.
CountTail CutCountTail(String iSql);

}  // namespace varnel
