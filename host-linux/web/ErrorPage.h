// The pages that answer failures: a plain sentence and the request's id, nothing of the inside.
#pragma once

#include <string>
#include <string_view>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// `text` with & < > " written as HTML names.
std::string EscapeHtml(std::string_view text);

// A complete response with a small HTML page. `requestId` may be empty (no request was read). `detail` is an
// additional sentence that the client may know, `excerpt` lines of a file; both are escaped.
HttpResponse ErrorResponse(int status, std::string_view requestId, std::string_view detail = {},
                           std::string_view excerpt = {});

}  // namespace hostlinux
