// What the site asks of requests that may change something: the form token of their session.
#pragma once

#include <string>

#include "host-linux/intrinsics/PageRequest.h"
#include "host-linux/intrinsics/Session.h"
#include "varnel/host/ICodePages.h"

namespace hostlinux {

// The field of a form, and the header of a script's request, that bear the token.
inline constexpr char kFormTokenField[] = "FormToken";
inline constexpr char kFormTokenHeader[] = "X-Form-Token";

// True where a posted form, with files or without, or the header bears the token of `session`. A token in the
// address doesn't count: addresses get into logs and other sites' hands. `session` may be null, and has no
// token then.
bool BearsFormToken(const PageRequest& request, Session* session, varnel::host::ICodePages& codePages);

// The hidden field of a form with that token.
varnel::String FormTokenField(varnel::StringView token);

}  // namespace hostlinux
