// Errors of the ADO objects themselves, with the numbers that scripts know.
#pragma once

#include "varnel/automation/Error.h"

namespace hostlinux {

enum class AdoFailure : varnel::Long {
  InvalidArgument = 3001,  // 0x800A0BB9
  NoCurrentRecord = 3021,  // 0x800A0BCD
  NotAllowed = 3219,       // 0x800A0C93
  ReadOnly = 3251,         // 0x800A0CB3
  NoSuchItem = 3265,       // 0x800A0CC1
  AlreadyPresent = 3367,   // 0x800A0D27
  WrongType = 3421,        // 0x800A0D5D
  IsClosed = 3704,         // 0x800A0E78
  IsOpen = 3705,           // 0x800A0E79
  NoConnection = 3709      // 0x800A0E7D
};

// Raises number 0x800A0000 plus the failure's own, with source "ADODB." and `className`.
[[noreturn]] void RaiseAdo(AdoFailure failure, varnel::StringView className);
// The same with a sentence of the case's own behind the text.
[[noreturn]] void RaiseAdo(AdoFailure failure, varnel::StringView className, varnel::StringView sentence);

}  // namespace hostlinux
