// A page's pieces as one JavaScript function body, with the way back to file and line.
#pragma once

#include <string>
#include <vector>

#include "host-linux/script/PageParser.h"

namespace hostlinux {

// The names by which the generated text reaches its output: text by its index, a value of the script.
inline constexpr const char* kWriteTextName = "__varnelText";
inline constexpr const char* kWriteValueName = "__varnelValue";
inline constexpr const char* kWriteEncodedName = "__varnelEncoded";

struct SourceLine {
  int file = 0;  // index into PageScript::files
  int line = 1;
  bool operator==(const SourceLine&) const = default;
};

struct PageScript {
  std::string source;                 // a strict function's body
  std::vector<std::string> texts;     // the HTML that the body writes by index, UTF-8
  std::vector<SourceLine> textLines;  // where each text ends
  std::vector<SourceLine> lines;      // where each line of `source` comes from
  std::vector<std::string> files;     // the page first
  PageDirectives directives;

  // Where line `generated` of the source (from 1) comes from; a line out of range counts as the nearest one.
  const SourceLine& Locate(int generated) const;
};

enum class PageLayout {
  Plain,     // each piece begins a line
  KeepLines  // each line stands, where that can be done, on the line of the page that it comes from
};

// Statements of several blocks make one text, so that a block may open a brace that a later one closes.
PageScript CompilePage(ParsedPage page, PageLayout layout = PageLayout::Plain);

}  // namespace hostlinux
