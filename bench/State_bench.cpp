// The state text: making, reading and sealing one against copying it.
#include <chrono>

#include "bench/Ratio.h"
#include "host-linux/guard/Seal.h"
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

// Of one call, the best of several rounds.
template <typename Call>
double MicrosecondsOf(Call call) {
  constexpr int kCalls = 200000;
  double best = 1e9;
  for (int round = 0; round < 7; ++round) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCalls; ++i) call();
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
    best = std::min(best, time.count() / kCalls);
  }
  return best;
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
  const hostlinux::SealKey key = *hostlinux::ParseSealKey("000102030405060708090a0b0c0d0e0f");
  const hostlinux::SealedPlace place{"list.asp", "R_1"};
  const auto seal = [&] { bench::Keep(hostlinux::WithSeal(text, place, key)); };
  bench::PrintRatio("sealing it", "a copy by characters", 5000, seal, copy);
  const std::vector<hostlinux::SealKey> keys{key};
  const varnel::String sealed = *hostlinux::WithSeal(text, place, key);
  bench::PrintRatio(
      "judging the seal", "a copy by characters", 5000,
      [&] { bench::Keep(hostlinux::HasSeal(sealed, place, keys)); }, copy);
  std::printf("sealing it takes %.3f us\n", MicrosecondsOf(seal));
}
