// Looks at the lists of one request while its site is being made.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host-linux/advice/ListFaults.h"
#include "varnel/host/IListWatcher.h"

namespace hostlinux {

// What was found in a list that was opened at a place of a page.
struct ListWarning {
  std::string place;  // "list.asp, line 12"
  std::string text;
  bool operator==(const ListWarning&) const = default;
};

// What is known of lists that were looked at a moment ago, and what was said of them. One for the process; safe from
// all threads.
class ListMemory {
 public:
  // The faults of the list with that text, as `look` finds them or found them less than ten seconds ago.
  std::vector<varnel::String> FaultsOf(const varnel::String& text,
                                       const std::function<std::vector<varnel::String>()>& look);
  // True for what wasn't said yet.
  bool IsNew(const ListWarning& warning);

 private:
  struct Known {
    std::chrono::steady_clock::time_point when;
    std::vector<varnel::String> faults;
  };

  std::mutex m_mutex;
  std::unordered_map<varnel::String, Known> m_known;
  std::unordered_set<std::string> m_said;
};

class ListAdvice : public varnel::host::IListWatcher {
 public:
  using OnList = std::function<void(const std::string& place, const varnel::host::ListInUse& list)>;

  // `place` tells where the page is. `looks`: faults are looked for. `onList`, which may be empty, is told of each
  // list. All outlive it.
  ListAdvice(ListMemory& memory, std::function<std::string()> place, bool looks = true,
             const OnList& onList = {})
      : m_memory(memory), m_place(std::move(place)), m_looks(looks), m_onList(onList) {}

  void Opening(const varnel::host::ListInUse& list) noexcept override;

  const std::vector<ListWarning>& Warnings() const { return m_warnings; }

 private:
  ListMemory& m_memory;
  const std::function<std::string()> m_place;
  const bool m_looks;
  const OnList m_onList;
  std::vector<ListWarning> m_warnings;
};

// The warnings as a box at the end of a page.
std::string WarningBox(const std::vector<ListWarning>& warnings);

}  // namespace hostlinux
