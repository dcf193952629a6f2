#include "tests/windows/Recording.h"

#include <set>
#include <vector>

#include "varnel/component/ClassIds.h"

namespace scripthost {

using namespace varnel::com;

namespace {

constexpr GUID kRecorderId = {0x0F3B7F0A, 0x6C55, 0x4E0B, {0x9D, 0x57, 0x3A, 0x80, 0x5E, 0x0B, 0x77, 0x41}};

std::set<std::string>& Called() {
  static std::set<std::string> called;
  return called;
}

// The object behind a recorder; null for what isn't one. The recorder holds it.
IDispatch* InnerOf(const VARIANT& value) {
  if (value.vt != VT_DISPATCH || value.pdispVal == nullptr) return nullptr;
  void* found = nullptr;
  if (FAILED(value.pdispVal->QueryInterface(kRecorderId, &found))) return nullptr;
  return static_cast<IDispatch*>(found);
}

void Record(VARIANT& value) {
  if (value.vt != VT_DISPATCH || value.pdispVal == nullptr) return;
  IDispatch* recorded = Recorded(value.pdispVal).Detach();
  value.pdispVal->Release();
  value.pdispVal = recorded;
}

// The arguments of a call with the objects themselves in place of their recorders, by value or by reference as they were.
class InnerArguments {
 public:
  explicit InnerArguments(const DISPPARAMS& given)
      : m_given(given), m_values(given.rgvarg, given.rgvarg + given.cArgs), m_places(given.cArgs) {
    for (std::size_t i = 0; i < m_values.size(); ++i) {
      if (IDispatch* inner = InnerOf(m_values[i])) {
        m_values[i].pdispVal = inner;
      } else if (IsReference(m_values[i])) {
        PutPlace(i);
      }
    }
  }
  // What a call has stored in a place is its caller's.
  ~InnerArguments() {
    for (std::size_t i = 0; i < m_values.size(); ++i) {
      if (!IsReference(m_values[i]) || m_values[i].pvarVal != &m_places[i]) continue;
      Record(m_places[i]);
      ::VariantClear(m_given.rgvarg[i].pvarVal);
      *m_given.rgvarg[i].pvarVal = m_places[i];
    }
  }
  InnerArguments(const InnerArguments&) = delete;
  InnerArguments& operator=(const InnerArguments&) = delete;

  DISPPARAMS Parameters() {
    return {m_values.data(), m_given.rgdispidNamedArgs, m_given.cArgs, m_given.cNamedArgs};
  }

 private:
  static bool IsReference(const VARIANT& value) {
    return value.vt == (VT_BYREF | VT_VARIANT) && value.pvarVal != nullptr;
  }

  void PutPlace(std::size_t i) {
    IDispatch* inner = InnerOf(*m_values[i].pvarVal);
    if (inner == nullptr) return;
    inner->AddRef();
    m_places[i].vt = VT_DISPATCH;
    m_places[i].pdispVal = inner;
    m_values[i].pvarVal = &m_places[i];
  }

  const DISPPARAMS& m_given;
  std::vector<VARIANT> m_values;
  std::vector<VARIANT> m_places;
};

class Recorder final : public IDispatch {
 public:
  Recorder(ComPointer<IDispatch> inner, std::string className)
      : m_inner(std::move(inner)), m_className(std::move(className)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (SameId(id, kRecorderId)) {
      *object = m_inner.Get();
      return S_OK;
    }
    if (!SameId(id, kUnknownId) && !SameId(id, kDispatchId)) return E_NOINTERFACE;
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    return m_inner->GetTypeInfoCount(count);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
    return m_inner->GetTypeInfo(index, locale, info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override {
    return m_inner->GetIDsOfNames(id, names, count, locale, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* error,
                                   UINT* badArgument) override {
    const ComPointer<IDispatch> held(this);
    InnerArguments arguments(*parameters);
    DISPPARAMS inner = arguments.Parameters();
    const HRESULT answer = m_inner->Invoke(id, reserved, locale, flags, &inner, result, error, badArgument);
    if (answer != S_OK) return answer;
    const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    Called().insert("CALLED\t" + m_className + "\t" + std::to_string(id) + (puts ? "\tput" : "\tget"));
    if (result != nullptr) Record(*result);
    return answer;
  }

 private:
  const ComPointer<IDispatch> m_inner;
  const std::string m_className;
  ULONG m_references = 1;
};

}  // namespace

ComPointer<IDispatch> Recorded(IDispatch* object) {
  for (const ClassIds& ids : AllClassIds()) {
    if (QueryFor<IUnknown>(object, ids.interfaceID))
      return ComPointer<IDispatch>::Taking(
          new Recorder(ComPointer<IDispatch>(object), varnel::ToUtf8(ids.name)));
  }
  return ComPointer<IDispatch>(object);
}

std::string CalledMembers() {
  std::string lines;
  for (const std::string& line : Called()) lines += line + "\n";
  return lines;
}

}  // namespace scripthost
