// Maps whose keys ignore the case of letters. Keys are compared as they are asked for: no folded copy of one
// is made.
#pragma once

#include <cstdint>
#include <cstring>

#include "varnel/automation/String.h"

namespace varnel {

// Four units at a time as long as they are ASCII, each with the bit that tells its small letters from the capitals, by which a
// few signs are alike as well; then one by one.
struct HashNoCase {
  using is_transparent = void;
  std::size_t operator()(StringView key) const {
    constexpr std::uint64_t kBeyondAscii = 0xFF80FF80FF80FF80U;
    constexpr std::uint64_t kSmall = 0x0020002000200020U;
    std::uint64_t hash = key.size();
    for (; key.size() >= 4; key.remove_prefix(4)) {
      std::uint64_t units;
      std::memcpy(&units, key.data(), sizeof units);
      if ((units & kBeyondAscii) != 0) break;
      hash = Mixed(hash, units | kSmall);
    }
    for (const char16_t unit : key) hash = Mixed(hash, unit < 0x80 ? unit | 0x20 : FoldCaseBeyondAscii(unit));
    return static_cast<std::size_t>(hash);
  }

 private:
  static std::uint64_t Mixed(std::uint64_t hash, std::uint64_t units) {
    hash = (hash ^ units) * 0x9E3779B97F4A7C15U;
    return hash ^ hash >> 32;
  }
};

struct EqualNoCase {
  using is_transparent = void;
  bool operator()(StringView left, StringView right) const { return EqualsNoCase(left, right); }
};

}  // namespace varnel
