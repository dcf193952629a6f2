// A catalogue query on a fake host whose database answers every question with the same rows.
#pragma once

#include <gmock/gmock.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "varnel/automation/Convert.h"
#include "varnel/catalog/CatalogQuery.h"

namespace varnel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CatalogTest : public ::testing::Test {
 protected:
  CatalogTest() {
    m_host.Configuration().SetConnectionString(u"Quenby", u"catalogue");
    m_host.Application().Set(u"QuenbyConnection_ConnectionString", u"pages");
    m_host.Request().Variables().Set(u"URL", u"/shop/list.asp");
    m_answer.columns = {{u"PRODUCTID", hostfake::kTypeLong},
                        {u"SEQUENCE", hostfake::kTypeLong},
                        {u"PRODUCTDESCRIPTION"},
                        {u"BUYFROMPARTNUMBER"},
                        {u"PRICEEFFECTIVEDATE"},
                        {u"PROPERTYID", hostfake::kTypeLong}};
    m_host.Database().AnswerWith([this](const String& sql) -> std::optional<hostfake::FakeAnswer> {
      if (sql.starts_with(u"set ")) return std::nullopt;
      return m_answer;
    });
  }

  // So many equal rows for every question.
  void AnswerRows(std::size_t count) {
    m_answer.rows.assign(count, {Long{5}, Long{1}, u"Cable", u"B-5", u"2024-01-01", Long{3}});
  }

  std::shared_ptr<Page> NewPage() { return m_host.Create<Page>(u"Varnel.Page"); }

  static Date Day() { return MakeDate({2024, 3, 5}); }

  const String& LastSql() { return m_host.Database().Statements().back(); }

  // The method of each log entry, the oldest first.
  std::vector<std::string> LoggedMethods() {
    std::vector<std::string> methods;
    for (const hostfake::LogEntry& entry : m_host.Log().Entries()) {
      const std::string text = ToUtf8(entry.text);
      const auto begin = text.find(" METHOD: ") + 9;
      methods.push_back(text.substr(begin, text.find("\r\n", begin) - begin));
    }
    return methods;
  }

  void ExpectAllClosed() {
    EXPECT_EQ(m_host.Database().LiveConnections(), 0);
    EXPECT_EQ(m_host.Database().LiveRecordsets(), 0);
  }

  hostfake::FakeHost m_host;
  hostfake::FakeAnswer m_answer;
  CatalogQuery m_catalog;
};

}  // namespace varnel
