#pragma once

#include <span>

#include "varnel/automation/Variant.h"

namespace varnel::host {

// Bytes and text by the code pages of the platform. The system's own code page is one of single bytes.
class ICodePages {
 public:
  virtual ~ICodePages() = default;
  // `bytes` as text by the code page of locale `lcid`; 0: by the system's. Bytes that stand for no character
  // become replacement characters. Raises 5 for a locale that the platform doesn't know.
  virtual String Decode(std::span<const Byte> bytes, Long lcid) = 0;
  // `text` in the system's code page; a character that it doesn't have becomes "?".
  virtual Bytes Encode(StringView text) = 0;
};

}  // namespace varnel::host
