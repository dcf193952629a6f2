// Objects that a program holds by number, for one thread.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "varnel/automation/Object.h"
#include "varnel/component/ObjectWrappers.h"

namespace hostlinux {

class Handles {
 public:
  // 0 for Nothing. Each call gives another number.
  std::uint64_t Add(varnel::ObjectPtr object);
  // Nothing for 0. Raises 424 for a number that names no object.
  varnel::ObjectPtr Find(std::uint64_t handle) const;
  // The same, but Nothing isn't taken either.
  varnel::ObjectPtr Required(std::uint64_t handle) const;
  void Remove(std::uint64_t handle);

  static Handles& OfThread();

 private:
  struct Held {
    varnel::ObjectPtr object;
    std::unique_ptr<varnel::com::LiveCount> live;
  };
  std::unordered_map<std::uint64_t, Held> m_objects;
};

}  // namespace hostlinux
