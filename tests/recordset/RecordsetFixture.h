// A recordset on a page of a fake host, with a table of numbered rows behind it.
#pragma once

#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "tests/recordset/ModelTable.h"
#include "varnel/automation/Convert.h"
#include "varnel/page/Page.h"
#include "varnel/recordset/DRecordset.h"

namespace varnel {

inline constexpr StringView kListQuery = u"SELECT id, name FROM t";

class RecordsetTest : public ::testing::Test {
 protected:
  RecordsetTest() : m_table({{u"id", hostfake::kTypeLong}, {u"name"}}, {}) {
    m_host.Request().Variables().Set(u"URL", u"/shop/list.asp");
    m_host.Database().AnswerWith([this](const String& sql) -> std::optional<hostfake::FakeAnswer> {
      if (!sql.starts_with(u"SELECT ")) return std::nullopt;
      return m_table.Run(sql);
    });
    m_connection = m_host.CreateConnection();
    m_connection->Open(u"fake", u"", u"", -1);
    m_page = std::make_shared<Page>();
    m_host.Trace().Clear();
  }

  // Rows 1 to `count`, with the names "n1", "n2", ...
  void FillTable(Long count) {
    std::vector<ModelTable::Row> rows;
    for (Long id = 1; id <= count; ++id) rows.push_back({id, u"n" + DecimalText(id)});
    m_table = ModelTable({{u"id", hostfake::kTypeLong}, {u"name"}}, std::move(rows));
  }

  std::shared_ptr<DRecordset> New(Integer pageSize = 10) {
    auto recordset = std::make_shared<DRecordset>();
    recordset->Initialize(m_page, 1, m_connection);
    recordset->SetPageSize(pageSize);
    return recordset;
  }

  // Opened at `state`, as a link would bring it.
  std::shared_ptr<DRecordset> OpenAt(StringView state, Integer pageSize = 10, bool counting = false,
                                     Integer jumpWidth = 0) {
    m_host.Request().Query().Set(u"R_1", state);
    auto recordset = New(pageSize);
    if (counting) recordset->SetRecCountON();
    bool jump = jumpWidth != 0;
    recordset->SetPageJump(jump, jumpWidth);
    recordset->OpenRS(String(kListQuery), u"id");
    return recordset;
  }

  static std::vector<Long> Ids(DRecordset& recordset) {
    std::vector<Long> ids;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      Variant key = u"id";
      ids.push_back(ToLong(recordset.GetDefault(key)->Value));
    }
    return ids;
  }

  static std::vector<Long> Range(Long first, Long last) {
    std::vector<Long> ids;
    for (Long id = first; id <= last; ++id) ids.push_back(id);
    return ids;
  }

  const String& LastSql() { return m_host.Database().Statements().back(); }

  hostfake::FakeHost m_host;
  ModelTable m_table;
  std::shared_ptr<host::IConnection> m_connection;
  std::shared_ptr<Page> m_page;
};

}  // namespace varnel
