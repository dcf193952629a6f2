// Numbers and texts one behind the other, as the machine has them: for files that stay on it, and for what it
// shares with machines of its kind.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace hostlinux {

static_assert(std::endian::native == std::endian::little, "sessions are shared with machines of this order");

class ByteWriter {
 public:
  template <typename T>
    requires std::is_arithmetic_v<T>
  void Number(T value) {
    char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    m_bytes.append(bytes, sizeof(T));
  }
  // Characters of any width, their count in front.
  template <typename Char>
  void Text(std::basic_string_view<Char> text) {
    Number(static_cast<std::uint32_t>(text.size()));
    m_bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(Char));
  }
  std::string Take() { return std::move(m_bytes); }

 private:
  std::string m_bytes;
};

// Each read is false where there is too little left; the target is then unchanged.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

  template <typename T>
    requires std::is_arithmetic_v<T>
  bool Number(T& value) {
    if (m_bytes.size() < sizeof(T)) return false;
    std::memcpy(&value, m_bytes.data(), sizeof(T));
    m_bytes.remove_prefix(sizeof(T));
    return true;
  }
  template <typename Char>
  bool Text(std::basic_string<Char>& text) {
    std::uint32_t count = 0;
    if (!Number(count) || count > m_bytes.size() / sizeof(Char)) return false;
    text.resize(count);
    std::memcpy(text.data(), m_bytes.data(), count * sizeof(Char));
    m_bytes.remove_prefix(count * sizeof(Char));
    return true;
  }
  std::size_t Left() const { return m_bytes.size(); }

 private:
  std::string_view m_bytes;
};

}  // namespace hostlinux
