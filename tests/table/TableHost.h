// What the table tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "varnel/automation/Convert.h"
#include "varnel/page/Page.h"
#include "varnel/table/Table.h"

namespace varnel {

// A component that a cell may hold and that no table can draw.
class SomeGrid : public Object, public IDGrid {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"DGrid", {}};
    return info;
  }
  void BindFromPage(const std::shared_ptr<Page>&, const std::shared_ptr<IDRecordset>&, const String&, bool,
                    const ObjectPtr&) override {}
  String GetFinishedHTML() override { return u"grid"; }
};

inline std::string Utf8(StringView text) { return ToUtf8(text); }

using hostfake::ErrorOf;

// What stands around the rows of a table of 100 % without a border table, spacing and padding.
inline const std::string kBareOpen =
    "\r\n<!-- Begin Varnel.Table Object -->\r\n<table  width=\"100%\"  border=\"0\" >\r\n";
inline const std::string kBareClose = "\r\n</table>\r\n<!--End Varnel.Table Object -->\r\n";

// Tables of a page where only the border width is configured, as 0: no border table, no colours, no fonts.
class TableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_host.Register(u"Varnel.Table", MakeTable);
    Configure(u"TableBorderWidth", u"0");
    m_page = std::make_shared<Page>();
  }

  void Configure(StringView key, StringView value) { m_host.Application().Set(key, value); }

  std::shared_ptr<Table> NewTable() { return CastObject<Table>(m_page->Table()); }

  // The rows of a bare table, without what stands around them.
  static std::string RowsOf(Table& table) {
    const std::string html = Utf8(table.GetHTML());
    EXPECT_THAT(html, ::testing::StartsWith(kBareOpen));
    EXPECT_THAT(html, ::testing::EndsWith(kBareClose));
    if (html.size() < kBareOpen.size() + kBareClose.size()) return html;
    return html.substr(kBareOpen.size(), html.size() - kBareOpen.size() - kBareClose.size());
  }

  hostfake::FakeHost m_host;
  std::shared_ptr<Page> m_page;
};

}  // namespace varnel
