// Raw request strings: a decoded text or error 13, and what isn't a code stays but for "+".
#include <cstdint>
#include <cstdlib>

#include "host-fake/FakeHost.h"
#include "varnel/automation/Error.h"
#include "varnel/utilities/Decoders.h"
#include "varnel/utilities/Utilities.h"

namespace {

using varnel::String;

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckDecoding(const String& text) {
  try {
    const String decoded = varnel::UrlDecode(text);
    Require(decoded.size() <= text.size() && (text.size() - decoded.size()) % 2 == 0);
    if (text.find(u'%') == String::npos)
      Require(varnel::Replace(text, u"+", u" ") == varnel::Replace(decoded, u"+", u" "));
  } catch (const varnel::Error& error) {
    Require(error.Info().Number == 13 && text.find(u'%') != String::npos);
  }
}

void CheckRetrieval(const String& text, const String& pattern) {
  varnel::Variant value;
  try {
    const bool found = varnel::Utilities().RetrieveElementFromRequestFormCollection(text, pattern, value);
    Require(value.IsText());
    Require(found == !varnel::Trim(*value.As<String>()).empty());
  } catch (const varnel::Error& error) {
    Require(error.Info().Number == 13 && value.IsText());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static hostfake::FakeHost host;
  const String text = varnel::FromUtf8({reinterpret_cast<const char*>(data), size});
  CheckDecoding(text);
  const std::size_t line = std::min(text.find(u'\n'), text.size());
  CheckRetrieval(text.substr(std::min(line + 1, text.size())), text.substr(0, line));
  host.Log().Clear();
  host.Trace().Clear();
  return 0;
}
