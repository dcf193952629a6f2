// One owner's part of a sum that many share.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace hostlinux {

// What it has added to the sum is given back at its end. Used by one thread at a time; the sum by all.
class Charge {
 public:
  explicit Charge(std::atomic<std::uint64_t>& sum) : m_sum(sum) {}
  ~Charge() { Reset(); }
  Charge(const Charge&) = delete;
  Charge& operator=(const Charge&) = delete;

  // Now has `amount` in the sum, at least as much as before. False, and nothing is changed, where the sum
  // would exceed `most`.
  bool GrowTo(std::uint64_t amount, std::uint64_t most) {
    const std::uint64_t more = amount - m_amount;
    if (more == 0) return true;
    if (m_sum.fetch_add(more) + more > most) {
      m_sum.fetch_sub(more);
      return false;
    }
    m_amount = amount;
    return true;
  }

  void Reset() {
    if (m_amount > 0) m_sum.fetch_sub(std::exchange(m_amount, 0));
  }

 private:
  std::atomic<std::uint64_t>& m_sum;
  std::uint64_t m_amount = 0;
};

}  // namespace hostlinux
