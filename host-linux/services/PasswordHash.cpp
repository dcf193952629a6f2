#include "host-linux/services/PasswordHash.h"

#include <crypt.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace hostlinux {

namespace {

// The method and its cost: 4096 blocks of 4 KB. The number is what the library calls this cost.
constexpr std::string_view kPrefix = "$y$j9T$";
constexpr unsigned long kCost = 5;

constexpr std::size_t kDigest = 43;  // characters
constexpr std::size_t kLongestSalt = 86;

// What is worked through where there is nothing to compare with.
constexpr char kNobodysHash[] = "$y$j9T$J4zXpkB3z6c7yWBcK5t8q.$";

bool IsHashCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '/';
}

bool AreHashCharacters(std::string_view text) {
  return std::all_of(text.begin(), text.end(), IsHashCharacter);
}

bool CanBeChecked(const std::string& password) {
  return !password.empty() && password.size() <= kLongestPassword && password.find('\0') == std::string::npos;
}

// The library's working memory, with the password in it until the end.
class Working {
 public:
  Working() : m_data(std::make_unique<crypt_data>()) {}
  ~Working() { ::explicit_bzero(m_data.get(), sizeof(crypt_data)); }
  Working(const Working&) = delete;
  Working& operator=(const Working&) = delete;

  // Begins with '*' where the library can't.
  std::string Hash(const std::string& password, const std::string& setting) {
    const char* hash = ::crypt_r(password.c_str(), setting.c_str(), m_data.get());
    return hash == nullptr ? "*" : hash;
  }

 private:
  std::unique_ptr<crypt_data> m_data;
};

// Looks at every character, wherever the first difference is.
bool AreEqual(const std::string& left, const std::string& right) {
  if (left.size() != right.size()) return false;
  unsigned char difference = 0;
  for (std::size_t i = 0; i < left.size(); ++i)
    difference = static_cast<unsigned char>(difference | (left[i] ^ right[i]));
  return difference == 0;
}

}  // namespace

std::string MakePasswordHash(const std::string& password) {
  if (!CanBeChecked(password)) throw std::invalid_argument("This password can't be taken");
  std::string salt(CRYPT_GENSALT_OUTPUT_SIZE, '\0');
  const char* setting =
      ::crypt_gensalt_rn("$y$", kCost, nullptr, 0, salt.data(), static_cast<int>(salt.size()));
  if (setting == nullptr) throw std::runtime_error("The system gives no random numbers.");
  std::string hash = Working().Hash(password, setting);
  if (!IsPasswordHash(hash)) throw std::runtime_error("The system's libcrypt has no yescrypt.");
  return hash;
}

bool IsPasswordHash(const std::string& text) {
  if (!text.starts_with(kPrefix)) return false;
  const std::string_view rest = std::string_view(text).substr(kPrefix.size());
  const auto end = rest.find('$');
  if (end == std::string_view::npos || end == 0 || end > kLongestSalt) return false;
  const std::string_view digest = rest.substr(end + 1);
  return digest.size() == kDigest && AreHashCharacters(rest.substr(0, end)) && AreHashCharacters(digest);
}

bool PasswordMatches(const std::string& password, const std::string& hash) {
  const bool canMatch = CanBeChecked(password) && IsPasswordHash(hash);
  const std::string made =
      Working().Hash(CanBeChecked(password) ? password : "nobody", canMatch ? hash : kNobodysHash);
  if (made.starts_with('*'))
    throw std::runtime_error("A password can't be checked: no memory, or a damaged hash.");
  return AreEqual(made, hash) && canMatch;
}

}  // namespace hostlinux
