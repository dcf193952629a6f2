#include "host-linux/script/CountingAllocator.h"

#include <atomic>
#include <cstdlib>

namespace hostlinux {
namespace {

// Buffers may be freed by the collector's threads, so the count is atomic.
class CountingAllocator final : public v8::ArrayBuffer::Allocator {
 public:
  explicit CountingAllocator(std::size_t limit) : m_limit(limit) {}

  void* Allocate(std::size_t length) override {
    return Take(length) ? Keep(std::calloc(length == 0 ? 1 : length, 1), length) : nullptr;
  }
  void* AllocateUninitialized(std::size_t length) override { return Allocate(length); }
  void Free(void* data, std::size_t length) override {
    std::free(data);
    m_used -= length;
  }

 private:
  bool Take(std::size_t length) {
    if (length > m_limit) return false;
    if (m_used.fetch_add(length) <= m_limit - length) return true;
    m_used -= length;
    return false;
  }
  void* Keep(void* data, std::size_t length) {
    if (!data) m_used -= length;
    return data;
  }

  const std::size_t m_limit;
  std::atomic<std::size_t> m_used{0};
};

}  // namespace

std::unique_ptr<v8::ArrayBuffer::Allocator> MakeCountingAllocator(std::size_t limit) {
  return std::make_unique<CountingAllocator>(limit);
}

}  // namespace hostlinux
