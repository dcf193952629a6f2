// A counted reference to an interface of the binary kind.
#pragma once

#include <utility>

#include "varnel/component/Automation.h"

namespace varnel::com {

template <typename T>
class ComPointer {
 public:
  ComPointer() = default;
  ComPointer(std::nullptr_t) {}
  // Shares `object`, which may be null.
  explicit ComPointer(T* object) : m_object(object) {
    if (m_object != nullptr) m_object->AddRef();
  }
  ComPointer(const ComPointer& other) : ComPointer(other.m_object) {}
  ComPointer(ComPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  ComPointer& operator=(ComPointer other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }
  ~ComPointer() {
    if (m_object != nullptr) m_object->Release();
  }

  // Takes over a reference that the caller has.
  static ComPointer Taking(T* object) {
    ComPointer pointer;
    pointer.m_object = object;
    return pointer;
  }

  // Hands the reference over to the caller.
  T* Detach() { return std::exchange(m_object, nullptr); }
  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }

 private:
  T* m_object = nullptr;
};

// `object` as another of its interfaces; null if it hasn't that one, or is null itself.
template <typename T>
ComPointer<T> QueryFor(IUnknown* object, const IID& interfaceID) {
  void* found = nullptr;
  if (object == nullptr || FAILED(object->QueryInterface(interfaceID, &found))) return nullptr;
  return ComPointer<T>::Taking(static_cast<T*>(found));
}

}  // namespace varnel::com
