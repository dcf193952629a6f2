// What the library costs by itself, on the in-memory host: a table's HTML by its number of rows, and the
// texts of one page of a recordset.
#include <benchmark/benchmark.h>

#include "host-fake/FakeHost.h"
#include "varnel/page/Page.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/StateText.h"
#include "varnel/table/Table.h"

namespace {

using varnel::PersistedState;
using varnel::String;

void TableOfRows(benchmark::State& state) {
  hostfake::FakeHost host;
  const auto page = host.Create<varnel::Page>(u"Varnel.Page");
  for (auto _ : state) {
    const auto table = varnel::CastObject<varnel::Table>(page->Table());
    for (int row = 0; row < state.range(0); ++row) {
      for (int column = 0; column < 5; ++column) table->Cell(u"8086:1533 I210 Gigabit Network Connection");
      table->NewRow();
    }
    benchmark::DoNotOptimize(table->GetHTML());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(TableOfRows)->RangeMultiplier(10)->Range(10, 10000);

PersistedState NextPage() {
  PersistedState state;
  state.NavType = varnel::nav_type::kNext;
  state.TotalRecords = 53591;
  state.FirstRecord = 21;
  state.SortFields = u"PRODUCTDESCRIPTION";
  state.KeyValues = {u"I210 Gigabit Network Connection", u"42"};
  return state;
}

void StateTextThereAndBack(benchmark::State& state) {
  const PersistedState next = NextPage();
  for (auto _ : state) benchmark::DoNotOptimize(varnel::ParseState(varnel::SerializeState(next), false));
}
BENCHMARK(StateTextThereAndBack);

void QueryOfNextPage(benchmark::State& state) {
  const PersistedState next = NextPage();
  const auto fields = varnel::ParseSortFields(next, u"PRODUCTID");
  for (auto _ : state) {
    std::vector<String> branches{u"SELECT PRODUCTID, PRODUCTDESCRIPTION FROM PRODUCT WHERE DISABLED = 0"};
    benchmark::DoNotOptimize(varnel::BuildReadQuery(branches, next, fields, varnel::PageTop{20}));
  }
}
BENCHMARK(QueryOfNextPage);

}  // namespace
