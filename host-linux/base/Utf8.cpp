#include "host-linux/base/Utf8.h"

namespace hostlinux {

namespace {

// How many continuation bytes a lead byte asks for; -1 for a byte that can't lead.
int ContinuationCount(unsigned char lead) {
  if (lead < 0x80) return 0;
  if (lead >= 0xC2 && lead <= 0xDF) return 1;
  if (lead >= 0xE0 && lead <= 0xEF) return 2;
  if (lead >= 0xF0 && lead <= 0xF4) return 3;
  return -1;
}

// The second byte carries the limits that rule out overlong forms, surrogates and codes above U+10FFFF.
bool IsSecondByte(unsigned char lead, unsigned char second) {
  switch (lead) {
    case 0xE0:
      return second >= 0xA0 && second <= 0xBF;
    case 0xED:
      return second >= 0x80 && second <= 0x9F;
    case 0xF0:
      return second >= 0x90 && second <= 0xBF;
    case 0xF4:
      return second >= 0x80 && second <= 0x8F;
    default:
      return second >= 0x80 && second <= 0xBF;
  }
}

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The length of the sequence at the head of `bytes`, which aren't empty; 0 where there is none.
std::size_t SequenceLength(std::string_view bytes) {
  const auto lead = static_cast<unsigned char>(bytes[0]);
  const int more = ContinuationCount(lead);
  if (more < 0 || bytes.size() <= static_cast<std::size_t>(more)) return 0;
  if (more > 0 && !IsSecondByte(lead, static_cast<unsigned char>(bytes[1]))) return 0;
  for (int k = 2; k <= more; ++k) {
    if (!IsContinuation(bytes[static_cast<std::size_t>(k)])) return 0;
  }
  return static_cast<std::size_t>(more) + 1;
}

}  // namespace

std::size_t FindBadUtf8(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = SequenceLength(bytes.substr(at));
    if (length == 0) return at;
    at += length;
  }
  return std::string_view::npos;
}

bool IsUtf8(std::string_view bytes) { return FindBadUtf8(bytes) == std::string_view::npos; }

}  // namespace hostlinux
