#include "site/loader/Utf8Text.h"

#include <cstddef>

namespace shop {
namespace {

unsigned ByteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

bool IsContinuation(unsigned byte) { return (byte & 0xC0U) == 0x80U; }

// Lowest and highest second byte that may follow `lead`: this is what keeps out overlong forms, surrogates
// and everything above U+10FFFF.
struct SecondByte {
  unsigned low = 0x80;
  unsigned high = 0xBF;
};

SecondByte SecondByteOf(unsigned lead) {
  if (lead == 0xE0) return {0xA0, 0xBF};
  if (lead == 0xED) return {0x80, 0x9F};
  if (lead == 0xF0) return {0x90, 0xBF};
  if (lead == 0xF4) return {0x80, 0x8F};
  return {};
}

std::size_t LengthOf(unsigned lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// Length of the well-formed sequence at `index`; 0 if none stands there.
std::size_t SequenceAt(std::string_view bytes, std::size_t index) {
  const unsigned lead = ByteAt(bytes, index);
  const std::size_t length = LengthOf(lead);
  if (length < 2) return length;
  if (bytes.size() - index < length) return 0;
  const SecondByte second = SecondByteOf(lead);
  const unsigned next = ByteAt(bytes, index + 1);
  if (next < second.low || next > second.high) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (!IsContinuation(ByteAt(bytes, index + i))) return 0;
  }
  return length;
}

void AppendStray(std::string& out, unsigned byte) {
  if (byte < 0xA0) {
    out += "\xEF\xBF\xBD";
    return;
  }
  out += static_cast<char>(0xC0U | (byte >> 6U));
  out += static_cast<char>(0x80U | (byte & 0x3FU));
}

}  // namespace

std::string MakeValidUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  std::size_t index = 0;
  while (index < bytes.size()) {
    const std::size_t length = SequenceAt(bytes, index);
    if (length == 0) {
      AppendStray(out, ByteAt(bytes, index));
      ++index;
      continue;
    }
    out.append(bytes, index, length);
    index += length;
  }
  return out;
}

std::string CutToCharacters(std::string_view text, std::size_t limit) {
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsContinuation(ByteAt(text, i))) continue;
    if (characters == limit) return std::string(text.substr(0, i));
    ++characters;
  }
  return std::string(text);
}

std::string FoldCase(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

}  // namespace shop
