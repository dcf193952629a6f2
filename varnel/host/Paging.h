// The read of one page as data, beside the SQL text that says the same: a host that knows its engine writes the read in
// that engine's best form, without taking the text apart again.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "varnel/host/Ado.h"

namespace varnel::host {

// A SELECT as its author wrote it, cut at its clauses: words stand one blank apart, its own order is gone.
struct PageBranch {
  String select;    // from the word SELECT to the end of FROM
  String where;     // the condition without its keyword; empty for none
  String grouping;  // GROUP BY, HAVING and COMPUTE; empty for none
};

// One of the columns that sort the rows. All of them together tell a row.
struct PageKey {
  String name;            // in an ORDER BY
  String expression;      // in a condition
  bool ascending = true;  // the way this read goes; NULL sorts below every value
  Variant anchor;         // the anchor row's value, a String or Null, where the read lies behind one
};

struct PageSpec {
  std::vector<PageBranch> branches;  // joined by UNION; one at least
  std::vector<PageKey> keys;         // one at least
  bool behindAnchor = false;         // only rows behind the anchor row, else from the first one on
  Long rows = 0;                     // the first so many, of each branch
  Long way = -1;  // in a jump: the last `rows` of the first `way`, turned around; -1 in no jump
};

// What a recordset may implement beside IRecordset. One that doesn't is opened on the texts.
class IPageRecordset {
 public:
  virtual ~IPageRecordset() = default;
  // IRecordset::Open for `sql`, whose rows `page` asks for as well: the same rows in the same order come of either.
  virtual void OpenPage(const String& sql, const PageSpec& page,
                        const std::shared_ptr<IConnection>& connection) = 0;
  // RecordCount of a static recordset on all rows of `sql`, while this one stays closed. Raises as Open.
  virtual Long CountRows(const String& sql, const std::shared_ptr<IConnection>& connection) = 0;
  // About how many rows `sql` gives, by what the engine has noted of its tables, without reading them; nothing where it
  // has no such notes. This one stays closed. Raises as Open.
  virtual std::optional<Long> EstimateRows(const String& sql,
                                           const std::shared_ptr<IConnection>& connection) = 0;
};

}  // namespace varnel::host
