// Random bits from the system, which nobody can guess. All raise std::runtime_error where the system gives
// none.
#pragma once

#include <cstddef>
#include <string>

namespace hostlinux {

// Fills `size` bytes, 256 at most.
void FillRandom(void* bytes, std::size_t size);

// 16 random bytes as 32 hexadecimal digits in small letters.
std::string RandomToken();

// A number of any value of T, an unsigned type.
template <typename T>
T RandomNumber() {
  T number = 0;
  FillRandom(&number, sizeof number);
  return number;
}

}  // namespace hostlinux
