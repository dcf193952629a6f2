// Passwords as texts that can be kept: yescrypt, by libcrypt.
#pragma once

#include <cstddef>
#include <string>

namespace hostlinux {

// Bytes of a password in UTF-8. The library below would take a few more; nobody types them.
inline constexpr std::size_t kLongestPassword = 256;

// A hash of `password` with a salt of its own: what stands in site.toml. All are made at one cost, 16 MB of
// memory and some hundredths of a second, so that how long a check takes tells nothing of the user. Raises
// std::invalid_argument for a password that can't be checked (see PasswordMatches), std::runtime_error where
// the system has no random numbers.
std::string MakePasswordHash(const std::string& password);

// Whether `text` has the shape of what MakePasswordHash gives, its cost included.
bool IsPasswordHash(const std::string& text);

// Whether `hash` was made of `password`. Takes the same time and memory whatever they are: an empty hash, and
// a password that is empty, too long or holds a NUL byte, match nothing but are worked through likewise.
bool PasswordMatches(const std::string& password, const std::string& hash);

}  // namespace hostlinux
