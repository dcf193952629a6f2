// The files beside the pages: images, styles, scripts, fonts, text and PDF. Every other name doesn't exist
// for a client.
#pragma once

#include <string>
#include <string_view>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// The Content-Type that a file of this name is served with; empty for a name that is never served: an
// unlisted type, or any segment that begins with a dot.
std::string_view StaticTypeOf(std::string_view path);

class StaticFiles {
 public:
  // Serves from `folder`; `cacheControl` goes into the header of that name. Throws std::runtime_error where
  // the folder can't be opened.
  explicit StaticFiles(const std::string& folder, std::string cacheControl = "public, max-age=3600");

  // Answers `request` with the file `relative` ("images/a.png", decoded and normalised, no leading slash).
  // 404 for names that are never served, for folders, and for links that lead out; 405 for methods other than
  // GET and HEAD; 304, 206 and 412 by the request's conditions. Names are case-sensitive. Safe from several
  // threads.
  HttpResponse Serve(const HttpRequest& request, const std::string& relative) const;

 private:
  UniqueFd m_folder;
  std::string m_cacheControl;
};

}  // namespace hostlinux
