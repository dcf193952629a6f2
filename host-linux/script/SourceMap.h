// The way from a page's script back to its files, in the form that developer tools read.
#pragma once

#include <string>

#include "host-linux/script/PageCompiler.h"
#include "host-linux/script/PageFiles.h"

namespace hostlinux {

// True where each line of the script stands on the line of the page that it comes from, so that no map is
// needed.
bool KeepsItsLines(const PageScript& script);

// The source map of `script` as a data URL. Its files are named below `pagesUrl`, with their texts.
std::string SourceMapUrl(const PageScript& script, const PageFiles& files, const std::string& pagesUrl);

// `path` with the bytes that a URL can't hold written as %XX.
std::string UrlOfPath(const std::string& path);

}  // namespace hostlinux
