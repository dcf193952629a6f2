// The pages that answer failures: a plain sentence and the request's id, nothing of the inside
// unless the host hands it over for a developer.
#pragma once

#include <string>
#include <string_view>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// `text` with & < > " written as HTML names.
std::string EscapeHtml(std::string_view text);

// A complete response with a small HTML page. `requestId` may be empty (no request was read). `detail` is an
// additional sentence that the client may know; it is escaped. `markup` stands behind it as it is.
HttpResponse ErrorResponse(int status, std::string_view requestId, std::string_view detail = {},
                           std::string_view markup = {});

// HTML that shows the lines of `source` around line `line` (from 1), numbered, that one in bold; empty where
// there is no such line.
std::string SourceExcerpt(std::string_view source, int line);

}  // namespace hostlinux
