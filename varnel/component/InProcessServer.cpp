#include "varnel/component/InProcessServer.h"

#include <atomic>
#include <new>

#include "varnel/automation/Error.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/ObjectWrappers.h"

namespace varnel::com {

namespace {

std::atomic<std::int64_t>& Locks() {
  static std::atomic<std::int64_t> locks = 0;
  return locks;
}

// An unlocking without a lock before it is nobody's.
void Unlock() {
  std::int64_t now = Locks().load();
  while (now > 0 && !Locks().compare_exchange_weak(now, now - 1)) {
  }
}

// Makes objects of one class.
class ClassObject final : public IClassFactory {
 public:
  explicit ClassObject(const ClassIds& ids) : m_ids(ids) {}

  HRESULT VARNEL_COM_CALL QueryInterface(const IID& interfaceID, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!SameId(interfaceID, kUnknownId) && !SameId(interfaceID, kClassFactoryId)) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG VARNEL_COM_CALL AddRef() override { return ++m_references; }
  ULONG VARNEL_COM_CALL Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }

  HRESULT VARNEL_COM_CALL CreateInstance(IUnknown* outer, const IID& interfaceID, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      const ObjectPtr made = CreateComponent(u"Varnel." + String(m_ids.name));
      return WrapObject(made)->QueryInterface(interfaceID, object);
    } catch (const Error& error) {
      // A number that is a code of failure goes through; that of a run-time error has its place among those.
      const Long number = error.Info().Number;
      return number < 0 ? number
                        : static_cast<HRESULT>(0x800A0000U | (static_cast<std::uint32_t>(number) & 0xFFFFU));
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    } catch (...) {
      return E_UNEXPECTED;
    }
  }

  HRESULT VARNEL_COM_CALL LockServer(BOOL lock) override {
    if (lock == 0) {
      Unlock();
    } else {
      ++Locks();
    }
    return S_OK;
  }

 private:
  const LiveCount m_live;
  const ClassIds& m_ids;
  std::atomic<ULONG> m_references = 1;
};

}  // namespace

Long InProcessServer::GetClassObject(const void* classID, const void* interfaceID, void** object) {
  if (object == nullptr) return static_cast<Long>(E_POINTER);
  *object = nullptr;
  if (classID == nullptr || interfaceID == nullptr) return static_cast<Long>(E_INVALIDARG);
  const ClassIds* ids = IdsOfClassID(*static_cast<const GUID*>(classID));
  if (ids == nullptr) return static_cast<Long>(CLASS_E_CLASSNOTAVAILABLE);
  auto* factory = new (std::nothrow) ClassObject(*ids);
  if (factory == nullptr) return static_cast<Long>(E_OUTOFMEMORY);
  const auto held = ComPointer<IClassFactory>::Taking(factory);
  return static_cast<Long>(held->QueryInterface(*static_cast<const IID*>(interfaceID), object));
}

Long InProcessServer::CanUnloadNow() {
  return static_cast<Long>(LiveCount::Now() == 0 && Locks() == 0 ? S_OK : S_FALSE);
}

Long InProcessServer::RegisterServer() {
  return m_register == nullptr ? static_cast<Long>(S_FALSE) : m_register();
}

Long InProcessServer::UnregisterServer() {
  return m_unregister == nullptr ? static_cast<Long>(S_FALSE) : m_unregister();
}

}  // namespace varnel::com
