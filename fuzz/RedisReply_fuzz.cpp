// Answers of a Redis server: whatever the bytes are, and however they are cut, what is read is the same and bounded.
#include "host-linux/redis/RedisReply.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "host-linux/redis/RedisFailure.h"

namespace {

constexpr std::size_t kMaxBytes = 4096;

std::size_t SizeOf(const hostlinux::RedisReply& reply) {
  std::size_t size = 1 + reply.text.size();
  for (const auto& item : reply.items) size += SizeOf(item);
  return size;
}

// How many replies there are before the first fault, and how large they are together.
std::pair<int, std::size_t> Read(std::string_view bytes, std::size_t piece) {
  hostlinux::RedisReplyReader reader(kMaxBytes);
  std::pair<int, std::size_t> sum;
  try {
    while (!bytes.empty()) {
      const std::size_t count = std::min(piece, bytes.size());
      reader.Feed(bytes.substr(0, count));
      bytes.remove_prefix(count);
      while (const auto reply = reader.Next()) {
        ++sum.first;
        sum.second += SizeOf(*reply);
      }
    }
  } catch (const hostlinux::RedisFailure&) {
  }
  return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2 || size > kMaxBytes) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto whole = Read(bytes, bytes.size());
  if (whole.second > 2 * kMaxBytes || whole != Read(bytes, std::size_t{1} + data[0] % 16)) std::abort();
  return 0;
}
