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

// A name of a page and a recordset and a state text are far shorter; longer ones go to the heap.
constexpr std::size_t kUsualLength = 768;

// The three texts with NULs between them: neither a file nor a recordset has one in its name.
class Message {
 public:
  Message(varnel::StringView state, const SealedPlace& place)
      : m_size(place.file.size() + place.recordset.size() + state.size() + 2) {
    if (m_size > m_usual.size()) m_long.resize(m_size);
    char* at = std::copy(place.file.begin(), place.file.end(), Bytes());
    *at++ = 0;
    at = std::copy(place.recordset.begin(), place.recordset.end(), at);
    *at++ = 0;
    char16_t all = 0;
    for (std::size_t i = 0; i < state.size(); ++i) {
      all |= state[i];
      at[i] = static_cast<char>(state[i]);
    }
    m_isAscii = all < 0x80;
  }

  // The bytes are those of the state only if it is ASCII.
  bool IsAscii() const { return m_isAscii; }

  Hash HashBy(const SealKey& key) {
    Hash hash;
    crypto_shorthash_siphashx24(hash.data(), reinterpret_cast<const unsigned char*>(Bytes()), m_size,
                                key.data());
    return hash;
  }

 private:
  char* Bytes() { return m_long.empty() ? m_usual.data() : m_long.data(); }

  std::size_t m_size;
  bool m_isAscii = false;
  std::array<char, kUsualLength> m_usual;
  std::string m_long;
};

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
  Message message(state, place);
  if (!message.IsAscii()) return std::nullopt;
  const Hash hash = message.HashBy(key);
  varnel::String text;
  text.reserve(state.size() + 1 + kDigits);
  text.append(state).append(1 + kDigits, kMark);
  char16_t* at = text.data() + state.size() + 1;
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
  Message message(text.substr(0, end), place);
  if (!message.IsAscii()) return false;
  bool fits = false;
  for (const SealKey& key : keys) {
    const Hash hash = message.HashBy(key);
    fits = sodium_memcmp(hash.data(), seal->data(), hash.size()) == 0 || fits;
  }
  return fits;
}

}  // namespace hostlinux
