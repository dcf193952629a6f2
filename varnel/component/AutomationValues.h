// Values between Automation and the library.
//
// A Single, a Currency, a Decimal and the unsigned types become the type of ours that holds them: Integer, Long, or
// else Double. An array keeps its lower bound. Objects of ours that come back are themselves; others are ForeignObjects.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/component/Automation.h"

namespace varnel::com {

// Owns what a VARIANT holds.
class OwnedVariant {
 public:
  OwnedVariant() = default;
  ~OwnedVariant() { VariantClear(&m_value); }
  OwnedVariant(const OwnedVariant&) = delete;
  OwnedVariant& operator=(const OwnedVariant&) = delete;

  VARIANT& Get() { return m_value; }
  // What it held belongs to the caller.
  VARIANT Detach() {
    VARIANT value = m_value;
    m_value = VARIANT{};
    return value;
  }

 private:
  VARIANT m_value{};
};

// What a caller handed over, by value or by reference. Raises 13 for what the library has no value for: records, errors
// but the one of a left-out argument, arrays of several dimensions, and references to nothing.
Variant FromAutomation(const VARIANT& value);

// `target` holds nothing yet; its owner frees what it gets. Raises 13 for arrays in arrays without end, and 7.
void ToAutomation(const Variant& value, VARIANT& target);

// Whether `argument` has a place that takes a result.
bool IsByReference(const VARIANT& argument);
// Stores a result in the place and in the type that a caller gave. Elements of an array are stored in place. Raises
// 13 and 6 where that type can't hold it; nothing is changed then, but elements in front.
void StoreByReference(const Variant& result, const VARIANT& argument);

}  // namespace varnel::com
