// The state text: making and reading one against copying it.
#include "bench/Ratio.h"
#include "varnel/recordset/StateText.h"

namespace {

varnel::PersistedState NextPage() {
  varnel::PersistedState state;
  state.NavType = varnel::nav_type::kNext;
  state.TotalRecords = 53591;
  state.FirstRecord = 21;
  state.SortFields = u"PRODUCTDESCRIPTION";
  state.KeyValues = {u"I210 Gigabit Network Connection", u"42"};
  return state;
}

}  // namespace

int main() {
  const varnel::PersistedState state = NextPage();
  const varnel::String text = varnel::SerializeState(state);
  // Character by character, as a text is read that has no length in front.
  const auto copy = [&] {
    varnel::String copied;
    for (const char16_t unit : text) copied += unit;
    bench::Keep(copied);
  };
  std::printf("A state text of %zu characters:\n", text.size());
  bench::PrintRatio(
      "making it", "a copy by characters", 5000, [&] { bench::Keep(varnel::SerializeState(state)); }, copy);
  bench::PrintRatio(
      "reading it", "a copy by characters", 5000, [&] { bench::Keep(varnel::ParseState(text, false)); },
      copy);
}
