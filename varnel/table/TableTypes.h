// The public enumerations of tables. Scripts know them by these names, as numbers.
#pragma once

#include <span>

#include "varnel/automation/String.h"

namespace varnel {

enum TableType : Integer {
  TableTypePlain = 0,
  TableTypeDataGrid = 1,  // part of the interface; no table ever has it
  TableTypeProperty = 2,
  TableTypeTitle = 3,
  TableTypeWizard = 4,
};

enum AlignType : Integer {
  AlignDefault = -2,
  AlignLeft = -1,
  AlignCenter = 0,
  AlignRight = 1,
};

enum VAlignType : Integer {
  VAlignDefault = -2,
  VAlignTop = -1,
  VAlignMiddle = 0,
  VAlignBottom = 1,
};

// One name of a public enumeration with its number.
struct EnumerationName {
  StringView name;
  Long value;
};

// Every name of the three enumerations above, in their order.
std::span<const EnumerationName> TableEnumerationNames();

}  // namespace varnel
