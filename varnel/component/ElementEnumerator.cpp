#include "varnel/component/ElementEnumerator.h"

#include <atomic>

#include "varnel/component/AutomationValues.h"
#include "varnel/component/DispatchCall.h"
#include "varnel/component/ObjectWrappers.h"

namespace varnel::com {

namespace {

class ElementEnumerator final : public IEnumVARIANT {
 public:
  ElementEnumerator(ObjectPtr collection, std::unique_ptr<Enumeration> elements)
      : m_collection(std::move(collection)), m_elements(std::move(elements)) {}

  HRESULT VARNEL_COM_CALL QueryInterface(const IID& interfaceID, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!SameId(interfaceID, kUnknownId) && !SameId(interfaceID, kEnumVariantId)) return E_NOINTERFACE;
    *object = static_cast<IEnumVARIANT*>(this);
    AddRef();
    return S_OK;
  }
  ULONG VARNEL_COM_CALL AddRef() override { return ++m_references; }
  ULONG VARNEL_COM_CALL Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }

  HRESULT VARNEL_COM_CALL Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
    if (fetched != nullptr) *fetched = 0;
    if (elements == nullptr || (fetched == nullptr && count != 1)) return E_INVALIDARG;
    for (ULONG i = 0; i < count; ++i) {
      VariantInit(&elements[i]);
      const HRESULT answer = NextInto(elements[i]);
      if (answer != S_OK) return answer;
      if (fetched != nullptr) *fetched = i + 1;
    }
    return S_OK;
  }

  HRESULT VARNEL_COM_CALL Skip(ULONG count) override {
    for (ULONG i = 0; i < count; ++i) {
      OwnedVariant skipped;
      const HRESULT answer = NextInto(skipped.Get());
      if (answer != S_OK) return answer;
    }
    return S_OK;
  }

  HRESULT VARNEL_COM_CALL Reset() override {
    try {
      m_elements = m_collection->Enumerate();
      m_passed = 0;
      return S_OK;
    } catch (...) {
      return AnswerOfFailure(nullptr);
    }
  }

  HRESULT VARNEL_COM_CALL Clone(IEnumVARIANT** other) override {
    if (other == nullptr) return E_POINTER;
    *other = nullptr;
    try {
      auto copy = std::make_unique<ElementEnumerator>(m_collection, m_collection->Enumerate());
      const HRESULT answer = copy->Skip(m_passed);
      if (FAILED(answer)) return answer;
      *other = copy.release();
      return S_OK;
    } catch (...) {
      return AnswerOfFailure(nullptr);
    }
  }

 private:
  // S_FALSE behind the last element.
  HRESULT NextInto(VARIANT& element) {
    try {
      Variant value;
      if (m_elements == nullptr || !m_elements->Next(value)) return S_FALSE;
      ++m_passed;
      ToAutomation(value, element);
      return S_OK;
    } catch (...) {
      return AnswerOfFailure(nullptr);
    }
  }

  const LiveCount m_live;
  const ObjectPtr m_collection;
  std::unique_ptr<Enumeration> m_elements;
  ULONG m_passed = 0;
  std::atomic<ULONG> m_references = 1;
};

}  // namespace

ComPointer<IUnknown> MakeElementEnumerator(const ObjectPtr& collection) {
  auto elements = collection->Enumerate();
  if (elements == nullptr) return nullptr;
  return ComPointer<IUnknown>::Taking(new ElementEnumerator(collection, std::move(elements)));
}

}  // namespace varnel::com
