#include "varnel/utilities/Decoders.h"

#include "varnel/automation/Error.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Lib_ErrorHandling.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {

namespace {

Byte HexDigit(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return static_cast<Byte>(unit - u'0');
  if (unit >= u'a' && unit <= u'f') return static_cast<Byte>(unit - u'a' + 10);
  if (unit >= u'A' && unit <= u'F') return static_cast<Byte>(unit - u'A' + 10);
  RaiseRuntimeError(runtime_error::kTypeMismatch, u"no hexadecimal number");
}

String CharOfCode(StringView s) {
  if (s.size() < 2) RaiseRuntimeError(runtime_error::kTypeMismatch, u"no hexadecimal number");
  const Byte high = HexDigit(s[s.size() - 2]);
  const Byte code[] = {static_cast<Byte>(high * 16 + HexDigit(s.back()))};
  return host::Platform().CodePages().Decode(code, 0);
}

// The source runs ahead of the target by two characters for each code; the loop ends one target character
// before the end, which is why the last character of a text without codes is never looked at.
String DecodeInPlace(String text) {
  const std::size_t length = text.size();
  std::size_t source = 0;
  std::size_t shrunk = 0;
  for (std::size_t target = 0; target + 1 < length; ++target) {
    if (source >= length) {
      ++source;
    } else if (text[source] == u'+') {
      text[target] = u' ';
      ++source;
    } else if (text[source] == u'%') {
      const String decoded = UrlCharDecode(text.substr(source, 3));
      if (!decoded.empty()) text[target] = decoded[0];
      shrunk += 2;
      source += 3;
    } else {
      text[target] = text[source++];
    }
  }
  text.resize(length - shrunk);
  return text;
}

// What stands behind the first match of `pattern`, up to the next "&".
String ValueBehind(const String& text, const String& pattern) {
  const std::size_t found = FindNoCase(text, pattern);
  if (found == String::npos) return {};
  const std::size_t begin = found + pattern.size();
  return text.substr(begin, text.find(u'&', begin) - begin);
}

}  // namespace

String UrlCharDecode(const String& s) {
  try {
    return CharOfCode(s);
  } catch (...) {
    Err_ReportAndRaise(u"Varnel.Utilities.UrlCharDecode");
    throw;
  }
}

String UrlDecode(const String& s) {
  try {
    return s.size() < 2 ? s : DecodeInPlace(s);
  } catch (...) {
    Err_ReportAndRaise(u"Varnel.Utilities.UrlDecode");
    throw;
  }
}

bool Utilities::RetrieveElementFromRequestFormCollection(const String& i_sRequestFormString,
                                                         const String& i_sPattern, Variant& o_sPatternValue) {
  try {
    const String raw = ValueBehind(i_sRequestFormString, i_sPattern);
    o_sPatternValue = raw;
    const String value = UrlDecode(raw);
    o_sPatternValue = value;
    return !Trim(value).empty();
  } catch (...) {
    Err_ReportAndRaise(u"Varnel.Utilities.RetrieveElementFromRequestFormCollection");
    throw;
  }
}

}  // namespace varnel
