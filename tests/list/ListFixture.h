// A list on a page of a fake host, with a table of numbered rows behind it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "host-fake/FakeHost.h"
#include "tests/recordset/ModelTable.h"
#include "varnel/automation/Convert.h"
#include "varnel/list/List.h"

namespace varnel {

inline constexpr StringView kListQuery = u"SELECT id, name FROM t";

// Notes what it is asked, and seals by zeros.
class NotingListGuard : public host::IStateGuard {
 public:
  String Leaving(const String& text, const String& recordset) override {
    left.push_back(recordset);
    return text + u"s00000000000000000000000000000000";
  }
  String LeavingFor(const String& text, const String&, const String&) override { return text; }
  void Admit(const host::StateInUse& use) override {
    admitted.push_back(String(use.recordset) + u" " + String(use.text));
    declared = use.isDeclared;
    if (refusesAll) Refuse(u"all");
  }
  void AcceptStatesOf(const String&) override {}
  void AllowSort(const String&) override {}
  String Basis() const override { return {}; }
  [[noreturn]] void Refuse(const String& reason) override {
    refused.push_back(reason);
    throw PageEnded();
  }

  bool refusesAll = false;
  bool declared = false;
  std::vector<String> left;
  std::vector<String> admitted;
  std::vector<String> refused;
};

class ListTest : public ::testing::Test {
 protected:
  ListTest() : m_table({{u"id", hostfake::kTypeLong}, {u"name"}}, {}) {
    m_host.Request().Variables().Set(u"URL", u"/shop/list.asp");
    m_host.Request().Variables().Set(u"REQUEST_METHOD", u"GET");
    m_host.Application().Set(u"A_ConnectionString", Variant(u"fake"));
    m_host.Database().AnswerWith([this](const String& sql) -> std::optional<hostfake::FakeAnswer> {
      if (sql == u"set TRANSACTION ISOLATION LEVEL READ COMMITTED") return hostfake::FakeAnswer();
      return m_table.Run(sql);
    });
  }

  // Rows 1 to `count`, with the names "n1", "n2", ...
  void FillTable(Long count) {
    std::vector<ModelTable::Row> rows;
    for (Long id = 1; id <= count; ++id) rows.push_back({id, u"n" + DecimalText(id)});
    m_table = ModelTable({{u"id", hostfake::kTypeLong}, {u"name"}}, std::move(rows));
  }

  // A list of two columns on a page of its own.
  std::shared_ptr<List> New(Long pageSize = 5) {
    m_page = std::make_shared<Page>();
    m_page->OpenDatabaseConnection(u"A");
    auto list = CastObject<List>(m_page->List(u"Things", String(kListQuery), u"id"));
    list->Column(u"id", u"No.");
    list->Column(u"name", u"Name");
    Variant size(pageSize);
    list->PageSizes(Arguments(&size, 1));
    return list;
  }

  // What the list writes.
  std::string Written(const std::shared_ptr<List>& list) {
    m_host.Response().Clear();
    m_page->Add(Variant(list));
    return ToUtf8(m_host.Response().Text());
  }

  // Follows an address of the list: its parameters become the request's.
  void Visit(const std::string& url) {
    for (const char* name : {"L1-at", "L1-sort", "L1-size", "L1-q", "L1-f-name", "L1-f-id"})
      m_host.Request().Query().Remove(FromUtf8(name));
    const auto query = url.find('?');
    if (query == std::string::npos) return;
    for (const String& pair : Split(FromUtf8(url.substr(query + 1)), u"&")) {
      const auto equals = pair.find(u'=');
      m_host.Request().Query().Set(Decoded(pair.substr(0, equals)), Decoded(pair.substr(equals + 1)));
    }
  }

  static String Decoded(const String& text) {
    std::string bytes;
    const std::string encoded = ToUtf8(text);
    for (std::size_t i = 0; i < encoded.size(); ++i) {
      if (encoded[i] == '%') {
        bytes += static_cast<char>(std::strtol(encoded.substr(i + 1, 2).c_str(), nullptr, 16));
        i += 2;
      } else {
        bytes += encoded[i] == '+' ? ' ' : encoded[i];
      }
    }
    return FromUtf8(bytes);
  }

  // The address of the link `rel`, such as "next"; empty where there is none.
  static std::string LinkOf(const std::string& html, const std::string& rel) {
    return AddressBehind(html, "rel=\"" + rel + "\" href=\"");
  }
  // The same of page `number`.
  static std::string PageLink(const std::string& html, int number) {
    return AddressBehind(html, "aria-label=\"Page " + std::to_string(number) + "\" href=\"");
  }
  static std::string AddressBehind(const std::string& html, const std::string& begin) {
    const auto at = html.find(begin);
    if (at == std::string::npos) return {};
    const auto start = at + begin.size();
    std::string url = html.substr(start, html.find('"', start) - start);
    for (auto amp = url.find("&amp;"); amp != std::string::npos; amp = url.find("&amp;"))
      url.erase(amp + 1, 4);
    return url;
  }

  // The texts of the cells of column `column`, from 0, with blanks between.
  static std::string Cells(const std::string& html, int column) {
    std::string cells;
    for (auto row = html.find("<tr>", html.find("<tbody>")); row != std::string::npos;
         row = html.find("<tr>", row + 1)) {
      auto at = row;
      for (int i = 0; i <= column; ++i) at = html.find("<td", at + 1);
      const auto start = html.find('>', at) + 1;
      cells += (cells.empty() ? "" : " ") + html.substr(start, html.find("</td>", start) - start);
    }
    return cells;
  }

  std::string Counter(const std::string& html) {
    const std::string begin = "<span class=\"vl-count\">";
    const auto at = html.find(begin);
    if (at == std::string::npos) return {};
    return html.substr(at + begin.size(), html.find('<', at + begin.size()) - at - begin.size());
  }

  const String& LastSql() { return m_host.Database().Statements().back(); }

  hostfake::FakeHost m_host;
  ModelTable m_table;
  std::shared_ptr<Page> m_page;
};

}  // namespace varnel
