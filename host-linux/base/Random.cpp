#include "host-linux/base/Random.h"

#include <sys/random.h>

#include <array>
#include <stdexcept>

namespace hostlinux {

void FillRandom(void* bytes, std::size_t size) {
  if (::getrandom(bytes, size, 0) != static_cast<ssize_t>(size)) {
    throw std::runtime_error("The system gives no random numbers.");
  }
}

std::string RandomToken() {
  std::array<unsigned char, 16> bytes{};
  FillRandom(bytes.data(), bytes.size());
  std::string token;
  for (const unsigned char byte : bytes) {
    token += "0123456789abcdef"[byte >> 4];
    token += "0123456789abcdef"[byte & 15];
  }
  return token;
}

}  // namespace hostlinux
