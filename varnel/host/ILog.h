#pragma once

#include "varnel/automation/Variant.h"

namespace varnel::host {

// The log component, "Ostrand.Log".
class ILog {
 public:
  virtual ~ILog() = default;
  // Takes one entry. Level 0 is an error, 1 a note. All arguments go by reference, as the component's callers
  // do it.
  virtual void WriteEntry(String& ioSource, String& ioText, Long& ioLevel, Variant& ioExtra) = 0;
};

}  // namespace varnel::host
