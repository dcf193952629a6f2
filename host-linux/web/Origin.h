// Where a request comes from: a page of this site, or another site's.
#pragma once

#include <string>
#include <vector>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// True for a method that may change something: any but GET and HEAD.
bool IsUnsafeMethod(const std::string& method);

// Why an unsafe request comes from a page of another site, as a sentence for the log; empty where it doesn't, or
// where the client tells nothing, as programs and old browsers do. `origins`: others that may send it, as
// browsers write them ("https://pay.example", "http://127.0.0.1:8081"); "*" is any.
std::string ForeignOrigin(const HttpRequest& request, const std::vector<std::string>& origins);

// True where the client shows that a page of this very site asks, or its user himself. What no foreign page can
// pretend: what isn't said is false.
bool IsOwnOrigin(const HttpRequest& request);

}  // namespace hostlinux
