// The position of a list and the rows of its selection come from an address that anyone can change: they are read, or
// refused, and what was read is written as a text that reads back to the same.
#include <cstdlib>

#include "varnel/list/ListState.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace varnel;
  const String text = FromUtf8({reinterpret_cast<const char*>(data), size});
  if (const auto position = ReadListPosition(text)) {
    if (ReadListPosition(WriteListPosition(*position)) != position) std::abort();
  }
  if (const auto keys = ReadListKeys(text)) {
    if (ReadListKeys(WriteListKeys(*keys)) != keys) std::abort();
  }
  return 0;
}
