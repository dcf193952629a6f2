#include "tests/recordset/ModelTable.h"

#include <gtest/gtest.h>

#include "varnel/automation/Convert.h"

namespace varnel {
namespace {

TEST(ModelTable, AnswersAKeysetRead) {
  const ModelTable table({{u"id", hostfake::kTypeLong}, {u"name"}},
                         {{Long{1}, Null()}, {Long{2}, u"b"}, {Long{10}, u"b"}, {Long{3}, u"a"}});
  const auto ids = [&](StringView sql) {
    std::vector<Long> result;
    for (const auto& row : table.Run(String(sql)).rows) result.push_back(ToLong(row[0]));
    return result;
  };
  EXPECT_EQ(ids(u"SELECT TOP 9 id, name FROM t ORDER BY name ASC,id ASC"), (std::vector<Long>{1, 3, 2, 10}));
  EXPECT_EQ(ids(u"SELECT TOP 9 id, name FROM t WHERE (name > 'b' or (name = 'b' and id > '2')) ORDER BY name "
                u"ASC,id ASC"),
            (std::vector<Long>{10}));
  EXPECT_EQ(
      ids(u"SELECT TOP  1 * FROM (SELECT TOP 2 id, name FROM t ORDER BY id ASC) as OUTPUT  ORDER BY id DESC"),
      (std::vector<Long>{2}));
}

}  // namespace
}  // namespace varnel
