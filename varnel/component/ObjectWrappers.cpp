#include "varnel/component/ObjectWrappers.h"

#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>
#include <unordered_map>

#include "varnel/automation/Error.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/DispatchCall.h"
#include "varnel/component/ForeignObject.h"
#include "varnel/host/IObjectControl.h"

namespace varnel::com {

namespace {

// Only a wrapper of this very module answers to it: another copy of the library has another place in memory.
const GUID& WrapperId() {
  static const GUID id = [] {
    static char place = 0;
    GUID made{0x750CDA61, 0x31AA, 0x48DF, {}};
    const void* address = &place;
    static_assert(sizeof address <= sizeof made.Data4);
    std::memcpy(made.Data4, &address, sizeof address);
    return made;
  }();
  return id;
}

std::atomic<std::int64_t>& Live() {
  static std::atomic<std::int64_t> live = 0;
  return live;
}

class ObjectWrapper final : public IDispatch, public ComObjectControl {
 public:
  // For a new holder of `object`; the wrapper was with nobody.
  void Fill(ObjectPtr object) {
    m_object = std::move(object);
    m_control = std::dynamic_pointer_cast<host::IObjectControl>(m_object);
    m_ids = IdsOfClass(m_object->Class().name);
    m_references = 1;
  }
  ObjectPtr Take() {
    m_control = nullptr;
    return std::move(m_object);
  }

  // Null once it was released.
  ObjectPtr Target() const { return m_references.load() == 0 ? nullptr : m_object; }

  // One more holder; false for one that nobody holds.
  bool Hold() {
    ULONG now = m_references.load();
    while (now != 0) {
      if (m_references.compare_exchange_weak(now, now + 1)) return true;
    }
    return false;
  }
  // One holder less; false where that would be the last one.
  bool LetOneGo() {
    ULONG now = m_references.load();
    while (now > 1) {
      if (m_references.compare_exchange_weak(now, now - 1)) return true;
    }
    return false;
  }
  // The last holder goes; false where somebody else has come to hold it, or nobody did.
  bool LetLastGo() {
    ULONG one = 1;
    return m_references.compare_exchange_strong(one, 0);
  }

  HRESULT VARNEL_COM_CALL QueryInterface(const IID& interfaceID, void** object) override;
  ULONG VARNEL_COM_CALL AddRef() override { return Hold() ? m_references.load() : 0; }
  ULONG VARNEL_COM_CALL Release() override;

  HRESULT VARNEL_COM_CALL GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT VARNEL_COM_CALL GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info != nullptr) *info = nullptr;
    return DISP_E_BADINDEX;
  }
  HRESULT VARNEL_COM_CALL GetIDsOfNames(const IID& reserved, OLECHAR** names, UINT count, LCID,
                                        DISPID* ids) override {
    if (!SameId(reserved, kNoId)) return DISP_E_UNKNOWNINTERFACE;
    const ObjectPtr object = Target();
    return object == nullptr ? RPC_E_DISCONNECTED : FindIds(object->Class(), names, count, ids);
  }
  HRESULT VARNEL_COM_CALL Invoke(DISPID id, const IID& reserved, LCID, WORD flags, DISPPARAMS* parameters,
                                 VARIANT* result, EXCEPINFO* error, UINT* badArgument) override {
    if (!SameId(reserved, kNoId)) return DISP_E_UNKNOWNINTERFACE;
    if (parameters == nullptr) return E_INVALIDARG;
    // It lives until the call ends, whoever releases it meanwhile.
    const ObjectPtr object = Target();
    if (object == nullptr) return RPC_E_DISCONNECTED;
    return InvokeById(object, id, flags, *parameters, result, error, badArgument);
  }

  HRESULT VARNEL_COM_CALL Activate() override {
    const auto control = Control();
    if (control == nullptr) return RPC_E_DISCONNECTED;
    try {
      control->Activate();
      return S_OK;
    } catch (...) {
      return AnswerOfFailure(nullptr) == E_OUTOFMEMORY ? E_OUTOFMEMORY : E_UNEXPECTED;
    }
  }
  void VARNEL_COM_CALL Deactivate() override {
    const auto control = Control();
    if (control == nullptr) return;
    try {
      control->Deactivate();
    } catch (...) {  // there is no way to tell
    }
  }
  BOOL VARNEL_COM_CALL CanBePooled() override { return 0; }

 private:
  std::shared_ptr<host::IObjectControl> Control() const {
    return m_references.load() == 0 ? nullptr : m_control;
  }

  ObjectPtr m_object;
  std::shared_ptr<host::IObjectControl> m_control;
  const ClassIds* m_ids = nullptr;
  std::atomic<ULONG> m_references = 0;
};

// All wrappers there ever were, and who wraps what.
class Wrappers {
 public:
  // With one holder more.
  ObjectWrapper* Of(const ObjectPtr& object) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_held.find(object.get());
    if (found != m_held.end() && found->second->Hold()) return found->second;
    ObjectWrapper* wrapper = Spare();
    m_held.insert_or_assign(object.get(), wrapper);
    wrapper->Fill(object);
    LiveCount::Add(1);
    return wrapper;
  }

  // The object to release once the lock is gone; null where somebody still holds the wrapper.
  ObjectPtr ReleaseLast(ObjectWrapper& wrapper) {
    const std::lock_guard lock(m_mutex);
    const ObjectPtr target = wrapper.Target();
    if (!wrapper.LetLastGo()) return nullptr;
    m_held.erase(target.get());
    m_spare.push_back(&wrapper);
    LiveCount::Add(-1);
    return wrapper.Take();
  }

 private:
  // The one that has lain unused for longest.
  ObjectWrapper* Spare() {
    if (m_spare.size() < kFewestSpare) return &m_all.emplace_back();
    ObjectWrapper* wrapper = m_spare.front();
    m_spare.pop_front();
    return wrapper;
  }

  // So many are released before the memory of one is another object.
  static constexpr std::size_t kFewestSpare = 1024;

  std::mutex m_mutex;
  std::deque<ObjectWrapper> m_all;
  std::deque<ObjectWrapper*> m_spare;
  std::unordered_map<const Object*, ObjectWrapper*> m_held;
};

// Never freed: objects may be released while a program ends.
Wrappers& AllWrappers() {
  static Wrappers* wrappers = new Wrappers;
  return *wrappers;
}

ForeignFactory& ForeignObjects() {
  static ForeignFactory factory = [](ComPointer<IDispatch> object) {
    return ObjectPtr(std::make_shared<ForeignObject>(std::move(object)));
  };
  return factory;
}

HRESULT ObjectWrapper::QueryInterface(const IID& interfaceID, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (!Hold()) return RPC_E_DISCONNECTED;
  const auto is = [&](const IID& id) { return SameId(interfaceID, id); };
  if (is(kUnknownId) || is(kDispatchId) || (m_ids != nullptr && is(m_ids->interfaceID))) {
    *object = static_cast<IDispatch*>(this);
  } else if (is(WrapperId())) {
    *object = this;
  } else if (is(kObjectControlId) && m_control != nullptr) {
    *object = static_cast<ComObjectControl*>(this);
  }
  if (*object != nullptr) return S_OK;
  Release();
  return E_NOINTERFACE;
}

ULONG ObjectWrapper::Release() {
  if (LetOneGo()) return m_references.load();
  const ObjectPtr last = AllWrappers().ReleaseLast(*this);
  return m_references.load();
}

}  // namespace

ComPointer<IDispatch> WrapObject(const ObjectPtr& object) {
  if (const auto foreign = CastObject<ForeignObject>(object))
    return ComPointer<IDispatch>(foreign->Dispatch());
  return ComPointer<IDispatch>::Taking(AllWrappers().Of(object));
}

ObjectPtr UnwrapObject(IDispatch* dispatch) {
  if (dispatch == nullptr) return nullptr;
  void* found = nullptr;
  if (SUCCEEDED(dispatch->QueryInterface(WrapperId(), &found)) && found != nullptr) {
    auto* wrapper = static_cast<ObjectWrapper*>(found);
    const ObjectPtr target = wrapper->Target();
    wrapper->Release();
    return target;
  }
  return ForeignObjects()(ComPointer<IDispatch>(dispatch));
}

void SetForeignObjects(ForeignFactory factory) { ForeignObjects() = factory; }

LiveCount::LiveCount() { Add(1); }
LiveCount::~LiveCount() { Add(-1); }
std::int64_t LiveCount::Now() { return Live().load(); }
void LiveCount::Add(std::int64_t change) { Live() += change; }

}  // namespace varnel::com
