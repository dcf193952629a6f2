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

bool IsAscii(varnel::StringView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

// The three texts with NULs between them: neither a file nor a recordset has one in its name.
std::string Message(varnel::StringView state, const SealedPlace& place) {
  std::string message;
  message.reserve(place.file.size() + place.recordset.size() + state.size() + 2);
  message.append(place.file).push_back('\0');
  message.append(place.recordset).push_back('\0');
  for (const char16_t unit : state) message.push_back(static_cast<char>(unit));
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
  if (!IsAscii(state)) return std::nullopt;
  const Hash hash = HashOf(Message(state, place), key);
  varnel::String text;
  text.reserve(state.size() + 1 + kDigits);
  text.append(state).push_back(kMark);
  for (const unsigned char byte : hash) {
    text.push_back(static_cast<char16_t>(kHex[byte >> 4]));
    text.push_back(static_cast<char16_t>(kHex[byte & 15]));
  }
  return text;
}

bool HasSeal(varnel::StringView text, const SealedPlace& place, const std::vector<SealKey>& keys) {
  if (text.size() <= kDigits || !IsAscii(text)) return false;
  const std::size_t end = text.size() - kDigits - 1;
  const auto seal = ParseDigits(text.substr(end + 1));
  if (text[end] != kMark || !seal) return false;
  const std::string message = Message(text.substr(0, end), place);
  bool fits = false;
  for (const SealKey& key : keys) {
    const Hash hash = HashOf(message, key);
    fits = sodium_memcmp(hash.data(), seal->data(), hash.size()) == 0 || fits;
  }
  return fits;
}

}  // namespace hostlinux
