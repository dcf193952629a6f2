#include "host-linux/guard/Seal.h"

#include <sodium.h>

#include <algorithm>

namespace hostlinux {

namespace {

using Hash = std::array<unsigned char, crypto_shorthash_siphashx24_BYTES>;

constexpr std::size_t kDigits = 2 * sizeof(Hash);
constexpr char16_t kMark = u's';
constexpr std::string_view kHex = "0123456789abcdef";

static_assert(sizeof(SealKey) == crypto_shorthash_siphashx24_KEYBYTES);

// The three texts with NULs between them: neither a file nor a recordset has one in its name. Nothing for a
// state that isn't ASCII.
std::optional<std::string> Message(varnel::StringView state, const SealedPlace& place) {
  std::string message(place.file.size() + place.recordset.size() + state.size() + 2, '\0');
  char* at = std::copy(place.file.begin(), place.file.end(), message.data());
  at = std::copy(place.recordset.begin(), place.recordset.end(), at + 1) + 1;
  char16_t all = 0;
  for (std::size_t i = 0; i < state.size(); ++i) {
    all |= state[i];
    at[i] = static_cast<char>(state[i]);
  }
  if (all >= 0x80) return std::nullopt;
  return message;
}

Hash HashOf(const std::string& message, const SealKey& key) {
  Hash hash;
  crypto_shorthash_siphashx24(hash.data(), reinterpret_cast<const unsigned char*>(message.data()),
                              message.size(), key.data());
  return hash;
}

template <typename Char>
int ValueOf(Char digit) {
  const auto at = digit < 0x80 ? kHex.find(static_cast<char>(digit)) : std::string_view::npos;
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

template <typename Text>
std::optional<Hash> ParseDigits(Text digits) {
  if (digits.size() != kDigits) return std::nullopt;
  Hash bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = ValueOf(digits[2 * i]);
    const int low = ValueOf(digits[2 * i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes[i] = static_cast<unsigned char>(high * 16 + low);
  }
  return bytes;
}

}  // namespace

std::optional<SealKey> ParseSealKey(std::string_view digits) { return ParseDigits(digits); }

std::string MakeSealKey() {
  SealKey key;
  randombytes_buf(key.data(), key.size());
  std::string digits;
  for (const unsigned char byte : key) digits.append({kHex[byte >> 4], kHex[byte & 15]});
  return digits;
}

std::optional<varnel::String> WithSeal(varnel::StringView state, const SealedPlace& place,
                                       const SealKey& key) {
  const auto message = Message(state, place);
  if (!message) return std::nullopt;
  const Hash hash = HashOf(*message, key);
  varnel::String text(state.size() + 1 + kDigits, kMark);
  char16_t* at = std::copy(state.begin(), state.end(), text.data()) + 1;
  for (const unsigned char byte : hash) {
    *at++ = static_cast<char16_t>(kHex[byte >> 4]);
    *at++ = static_cast<char16_t>(kHex[byte & 15]);
  }
  return text;
}

bool HasSeal(varnel::StringView text, const SealedPlace& place, const std::vector<SealKey>& keys) {
  if (text.size() <= kDigits) return false;
  const std::size_t end = text.size() - kDigits - 1;
  const auto seal = ParseDigits(text.substr(end + 1));
  if (text[end] != kMark || !seal) return false;
  const auto message = Message(text.substr(0, end), place);
  if (!message) return false;
  bool fits = false;
  for (const SealKey& key : keys) {
    const Hash hash = HashOf(*message, key);
    fits = sodium_memcmp(hash.data(), seal->data(), hash.size()) == 0 || fits;
  }
  return fits;
}

}  // namespace hostlinux
