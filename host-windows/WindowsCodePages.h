// Bytes and text by the system's code pages.
#pragma once

#include "varnel/host/ICodePages.h"

namespace hostwindows {

class WindowsCodePages : public varnel::host::ICodePages {
 public:
  varnel::String Decode(std::span<const varnel::Byte> bytes, varnel::Long lcid) override;
  varnel::Bytes Encode(varnel::StringView text) override;
};

}  // namespace hostwindows
