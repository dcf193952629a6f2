// A request taken apart for a page, and whether a page may see it at all.
#pragma once

#include <string>
#include <vector>

#include "host-linux/intrinsics/FormFields.h"
#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

struct PageRequest {
  HttpRequest http;
  std::vector<FormField> query;
  std::vector<FormField> form;  // of a url-encoded body
  bool hasForm = false;         // the body is url-encoded
  // Set on top of what the request itself says, by the command line.
  std::vector<FormField> serverVariables;
};

// Takes query and form apart. Gives a sentence for the client where the request must be answered with 400: a
// bad escape, or a parameter whose name is, in any case of letters, one of `refused`. `page` is complete
// otherwise.
std::string ReadPageRequest(HttpRequest http, const std::vector<std::string>& refused, PageRequest& page);

// True for a body that is sent as a form without files.
bool IsFormBody(const HttpRequest& http);

}  // namespace hostlinux
