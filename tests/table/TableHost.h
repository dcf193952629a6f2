// A request's surroundings, as far as pages and tables ask for them, and what the table tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Page.h"
#include "varnel/table/Table.h"

namespace varnel {

class NoValues : public host::IRequestCollection {
 public:
  Long Count() const override { return 0; }
  String Key(Long) const override { return {}; }
  String ValueAt(Long) const override { return {}; }
  Variant Value(StringView) const override { return {}; }
  Long ValueCount(StringView) const override { return 0; }
};

// All five intrinsics in one object.
class Intrinsics : public Object,
                   public host::IRequest,
                   public host::IResponse,
                   public host::ISession,
                   public host::IApplication,
                   public host::IServer {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Intrinsics", {}};
    return info;
  }

  const host::IRequestCollection& QueryString() override { return m_none; }
  const host::IRequestCollection& Form() override { return m_none; }
  const host::IRequestCollection& ServerVariables() override { return m_none; }
  Variant Item(StringView) override { return {}; }
  Long TotalBytes() override { return 0; }
  Bytes BinaryRead(Long) override { return {}; }
  void Write(StringView text) override { written.emplace_back(text); }
  Variant Value(StringView key) override {
    const auto found = application.find(String(key));
    return found == application.end() ? Variant() : Variant(found->second);
  }
  Long LCID() override { return 1033; }
  String URLEncode(StringView text) override { return String(text); }
  String HTMLEncode(StringView text) override { return String(text); }

  std::map<String, String> application;
  std::vector<String> written;

 private:
  NoValues m_none;
};

class TablePlatform : public host::IPlatform,
                      public host::IObjectContext,
                      public std::enable_shared_from_this<TablePlatform> {
 public:
  std::shared_ptr<host::IObjectContext> GetObjectContext() override {
    return hasContext ? shared_from_this() : nullptr;
  }
  ObjectPtr CreateObject(StringView progID) override { return CreateInstance(progID); }
  std::shared_ptr<host::IConnection> CreateConnection() override { return nullptr; }
  std::shared_ptr<host::IRecordset> CreateRecordset() override { return nullptr; }
  bool EnterLog() override { return false; }
  void LeaveLog() override {}
  ObjectPtr Item(StringView) override { return intrinsics; }
  ObjectPtr CreateInstance(StringView progID) override {
    if (progID != u"Varnel.Table") RaiseRuntimeError(429, progID);
    return MakeTable();
  }

  std::shared_ptr<Intrinsics> intrinsics = std::make_shared<Intrinsics>();
  bool hasContext = true;
};

// A component that a cell may hold and that no table can draw.
class SomeGrid : public Object, public IDGrid {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"DGrid", {}};
    return info;
  }
  void BindFromPage(const std::shared_ptr<Page>&, const ObjectPtr&, const String&, bool,
                    const ObjectPtr&) override {}
  String GetFinishedHTML() override { return u"grid"; }
};

inline std::string Utf8(StringView text) { return ToUtf8(text); }

// The record of the error that `action` raises; a Number of 0 if it raises none.
template <typename Action>
ErrInfo ErrorOf(Action action) {
  try {
    action();
  } catch (...) {
    return CurrentError();
  }
  return {};
}

// What stands around the rows of a table of 100 % without a border table, spacing and padding.
inline const std::string kBareOpen =
    "\r\n<!-- Begin Varnel.Table Object -->\r\n<table  width=\"100%\"  border=\"0\" >\r\n";
inline const std::string kBareClose = "\r\n</table>\r\n<!--End Varnel.Table Object -->\r\n";

// Tables of a page where only the border width is configured, as 0: no border table, no colours, no fonts.
class TableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    host::SetPlatform(m_platform.get());
    Configure(u"TableBorderWidth", u"0");
    m_page = std::make_shared<Page>();
  }
  void TearDown() override {
    m_page = nullptr;
    host::SetPlatform(nullptr);
  }

  void Configure(const String& key, const String& value) { m_platform->intrinsics->application[key] = value; }

  std::shared_ptr<Table> NewTable() { return CastObject<Table>(m_page->Table()); }

  // The rows of a bare table, without what stands around them.
  static std::string RowsOf(Table& table) {
    const std::string html = Utf8(table.GetHTML());
    EXPECT_THAT(html, ::testing::StartsWith(kBareOpen));
    EXPECT_THAT(html, ::testing::EndsWith(kBareClose));
    if (html.size() < kBareOpen.size() + kBareClose.size()) return html;
    return html.substr(kBareOpen.size(), html.size() - kBareOpen.size() - kBareClose.size());
  }

  std::shared_ptr<TablePlatform> m_platform = std::make_shared<TablePlatform>();
  std::shared_ptr<Page> m_page;
};

}  // namespace varnel
