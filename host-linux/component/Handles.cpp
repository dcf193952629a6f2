#include "host-linux/component/Handles.h"

#include <atomic>

#include "varnel/automation/Error.h"

namespace hostlinux {

namespace {

constexpr varnel::Long kObjectRequired = 424;

// No number comes twice, on whichever thread.
std::uint64_t NextHandle() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

[[noreturn]] void RaiseNoObject() {
  throw varnel::Error({kObjectRequired, u"Varnel", u"The handle names no object of this thread", u"", 0});
}

}  // namespace

std::uint64_t Handles::Add(varnel::ObjectPtr object) {
  if (object == nullptr) return 0;
  const std::uint64_t handle = NextHandle();
  m_objects.emplace(handle, Held{std::move(object), std::make_unique<varnel::com::LiveCount>()});
  return handle;
}

varnel::ObjectPtr Handles::Find(std::uint64_t handle) const {
  if (handle == 0) return nullptr;
  const auto found = m_objects.find(handle);
  if (found == m_objects.end()) RaiseNoObject();
  return found->second.object;
}

varnel::ObjectPtr Handles::Required(std::uint64_t handle) const {
  varnel::ObjectPtr object = Find(handle);
  if (object == nullptr) RaiseNoObject();
  return object;
}

void Handles::Remove(std::uint64_t handle) {
  const auto found = m_objects.find(handle);
  if (found == m_objects.end()) return;
  // What goes with it may come back here.
  const Held last = std::move(found->second);
  m_objects.erase(found);
}

Handles& Handles::OfThread() {
  thread_local Handles handles;
  return handles;
}

}  // namespace hostlinux
