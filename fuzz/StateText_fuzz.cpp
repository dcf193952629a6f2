// A state text comes from a link that anyone can change: it is read, or refused with an error of ours, and
// what was read writes a text that reads back to the same state.
#include <algorithm>
#include <cstdlib>

#include "varnel/automation/Error.h"
#include "varnel/recordset/StateText.h"

namespace {

using namespace varnel;

// Bodies of 1000 characters and more are written, but can't be read.
bool CanBeReadBack(const PersistedState& state) {
  constexpr std::size_t kLongest = 3 + 999;
  return EncodeValue(state.SortFields).size() <= kLongest &&
         std::all_of(state.KeyValues.begin(), state.KeyValues.end(),
                     [](const Variant& key) { return EncodeValue(key).size() <= kLongest; });
}

void Check(const String& text, bool withJumpPage) {
  try {
    PersistedState state = ParseState(text, withJumpPage);
    state.JumpPage = 0;
    const String written = SerializeState(state);
    if (written.size() < 32767 && CanBeReadBack(state) && ParseState(written, false) != state) std::abort();
  } catch (const Error& error) {
    const Long number = error.Info().Number;
    if (number != 5 && number != 6 && number != 9 && number != 13 && number != 94) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const String text = FromUtf8({reinterpret_cast<const char*>(data), size});
  Check(text, false);
  Check(text, true);
  return 0;
}
