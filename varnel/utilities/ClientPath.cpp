#include "varnel/utilities/ClientPath.h"

namespace varnel {

namespace {

// A path without a separator is a component itself: npos + 1 is 0.
StringView LastComponent(StringView path) { return path.substr(path.find_last_of(u"\\/") + 1); }

}  // namespace

String BaseName(StringView path) {
  const StringView name = LastComponent(path);
  return String(name.substr(0, name.rfind(u'.')));
}

String Extension(StringView path) {
  const StringView name = LastComponent(path);
  const std::size_t dot = name.rfind(u'.');
  return dot == StringView::npos ? String() : String(name.substr(dot + 1));
}

}  // namespace varnel
