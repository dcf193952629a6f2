// A list page by page to its end and back, against the rows that it should have.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "host-fake/FakeHost.h"
#include "varnel/automation/Convert.h"
#include "varnel/catalog/CatalogQuery.h"

namespace varnel {

class ListWalk {
 public:
  // Opens the list at a state, with or without a page.
  using Opener = std::function<CatalogQuery::List(const CatalogQuery::PagePtr&, const String& state)>;
  using NewHost = std::function<std::unique_ptr<hostfake::FakeHost>()>;

  // Jumping: on a page that shows page numbers, and so counts.
  enum class Road { Page, Jumping, WithoutPage };

  // `newHost` makes the host of each request; `text` writes a value as `expected` does.
  ListWalk(NewHost newHost, Long pageSize, std::function<std::string(const Variant&)> text)
      : m_newHost(std::move(newHost)), m_size(static_cast<std::size_t>(pageSize)), m_text(std::move(text)) {}

  // `expected` are all rows in order, each with `columns` joined by ",". At least two pages must be full.
  void Walk(Road road, const std::vector<StringView>& columns, const std::vector<std::string>& expected,
            const Opener& opener, const String& sort = u"") {
    ASSERT_GT(expected.size(), 2 * m_size) << "too few rows to walk";
    m_road = road;
    m_columns = columns;
    m_rows = &expected;
    m_opener = opener;
    WalkBothWays(sort);
    m_host = nullptr;
  }

 private:
  CatalogQuery::List Open(const String& state) {
    m_host = nullptr;
    m_host = m_newHost();
    if (m_road == Road::WithoutPage) return m_opener(nullptr, state);
    if (!state.empty()) m_host->Request().Query().Set(u"R_1", state);
    const auto page = m_host->Create<Page>(u"Varnel.Page");
    if (m_road == Road::Jumping) page->ShowPageJump(5);
    return m_opener(page, u"");
  }

  std::string RowOf(DRecordset& list) {
    std::string row;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
      Variant name{String(m_columns[i])};
      row += (i == 0 ? "" : ",") + m_text(list.GetDefault(name)->Value);
    }
    return row;
  }

  void ExpectPage(DRecordset& list, std::size_t begin, const char* way) {
    std::vector<std::string> found;
    for (; !list.IsEOF(); list.MoveNext()) found.push_back(RowOf(list));
    const auto from = m_rows->begin() + static_cast<std::ptrdiff_t>(begin);
    const auto to = m_rows->begin() + static_cast<std::ptrdiff_t>(std::min(begin + m_size, m_rows->size()));
    ASSERT_EQ(found, std::vector<std::string>(from, to)) << way << " at " << begin;
  }

  void WalkBothWays(const String& sort) {
    CatalogQuery::List list = Open(u"");
    if (!sort.empty()) list = Open(list->GetStateSorted(sort));
    const String last = list->GetStateLast();
    std::size_t begin = 0;
    ASSERT_NO_FATAL_FAILURE(ExpectPage(*list, begin, "first"));
    while (begin + m_size < m_rows->size()) {
      list = Open(list->GetStateNext());
      begin += m_size;
      ASSERT_NO_FATAL_FAILURE(ExpectPage(*list, begin, "next"));
    }
    while (begin > 0) {
      list = Open(list->GetStatePrev());
      begin -= m_size;
      ASSERT_NO_FATAL_FAILURE(ExpectPage(*list, begin, "previous"));
    }
    if (m_road != Road::Jumping) return;
    list = Open(last);
    EXPECT_EQ(list->GetTotalNumberOfRecords(), static_cast<Long>(m_rows->size()));
    ExpectPage(*list, (m_rows->size() - 1) / m_size * m_size, "last");
  }

  NewHost m_newHost;
  std::size_t m_size;
  std::function<std::string(const Variant&)> m_text;
  std::unique_ptr<hostfake::FakeHost> m_host;
  Opener m_opener;
  Road m_road = Road::Page;
  std::vector<StringView> m_columns;
  const std::vector<std::string>* m_rows = nullptr;
};

}  // namespace varnel
