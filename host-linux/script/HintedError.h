// An error with a sentence of the host's own: what was wrong with a call, and what may have been meant. Scripts see the
// error as it was raised; the sentence stands in what the host tells of an error that nobody caught.
#pragma once

#include "varnel/automation/Error.h"

namespace hostlinux {

class HintedError : public varnel::Error {
 public:
  HintedError(varnel::ErrInfo info, varnel::String hint)
      : varnel::Error(std::move(info)), m_hint(std::move(hint)) {}
  const varnel::String& Hint() const { return m_hint; }

 private:
  varnel::String m_hint;
};

// The sentence of the error in flight: call it inside a catch clause. Empty where it has none.
varnel::String HintOfCurrentError();

}  // namespace hostlinux
