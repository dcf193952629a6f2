// Column facts for tests of text: types by the column's name, whatever the query.
#pragma once

#include <map>
#include <set>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/SqlLexer.h"

// Answers a query "SELECT name FROM ..." with the type that `types` has for the name; other names are untyped
// expressions. `columns` are the result columns of every longer select list. Columns in `notNull` are those of
// `table` and can't be NULL.
class FakeFacts : public hostlinux::IColumnFacts {
 public:
  std::map<std::u16string, std::u16string> types;
  std::vector<hostlinux::ColumnFact> columns;
  std::u16string table = u"customer";
  std::set<std::u16string> notNull;
  std::vector<std::u16string> asked;

  std::optional<std::vector<hostlinux::ColumnFact>> Describe(const std::u16string& select) override {
    asked.push_back(select);
    const auto type = types.find(FirstItem(select));
    if (type != types.end()) {
      return std::vector<hostlinux::ColumnFact>{
          {type->first, type->second, table, notNull.contains(type->first)}};
    }
    return columns.empty() ? std::vector<hostlinux::ColumnFact>{{u"x", u""}} : columns;
  }
  // `sorts`, but nothing of a walk's rows.
  std::optional<hostlinux::SortWork> SortsFor(const std::u16string& select) override {
    return select.find(u"\"page key\"") == std::u16string::npos ? sorts : hostlinux::SortWork::Nothing;
  }
  bool HasPartialIndex() override { return hasPartialIndex; }
  bool ReadsInOrder(const std::u16string& select) override {
    askedForOrder.push_back(select);
    return readsInOrder;
  }

  bool hasPartialIndex = false;
  bool readsInOrder = false;
  std::vector<std::u16string> askedForOrder;
  hostlinux::SortWork sorts = hostlinux::SortWork::Nothing;

 private:
  static std::u16string FirstItem(const std::u16string& select) {
    const size_t from = select.find(u" FROM ");
    return select.substr(7, from == std::u16string::npos ? from : from - 7);
  }
};
