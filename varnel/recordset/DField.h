// One column of a recordset's current row.
#pragma once

#include "varnel/automation/Object.h"

namespace varnel {

// Made by a recordset, one for each column; moving to another row rewrites `Value` alone.
class DField final : public Object {
 public:
  const ClassInfo& Class() const override;
  void LetGo() noexcept override { Value = Variant(); }

  // The value. The default member: a field used as a value is its value.
  Variant GetDefault();

  Integer Hidden_Data_Index_ = 0;  // position of the column, from 0
  Integer Type_ = 0;               // the ADO type code; 135 is a date with time
  String Name;                     // as the result gives it
  Variant Value;                   // of the current row; may be Null
};

}  // namespace varnel
