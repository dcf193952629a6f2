// A page file and its includes, taken apart into pieces of HTML and script.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host-linux/script/PageFiles.h"

namespace hostlinux {

// An error in a page's text. The line counts from 1; 0 where the file as a whole is meant.
class PageError : public std::runtime_error {
 public:
  PageError(std::string file, int line, const std::string& message)
      : std::runtime_error(message), m_file(std::move(file)), m_line(line) {}
  const std::string& File() const { return m_file; }
  int Line() const { return m_line; }

 private:
  std::string m_file;
  int m_line;
};

struct PagePiece {
  // Encoded: an expression whose value is written as HTML text, <%: ... %>.
  enum class Kind { Html, Statements, Expression, Encoded };
  Kind kind = Kind::Html;
  std::string text;  // without the marks around it
  int file = 0;      // index into ParsedPage::files
  int line = 1;      // of the first character of `text`
};

// What <%@ ... %> says about a page. Where a name occurs more than once, the last one holds.
struct PageDirectives {
  std::optional<int> lcid;
  bool sessionState = true;
  bool formToken = true;  // false: posts need none, whatever the site says
  bool operator==(const PageDirectives&) const = default;
};

struct ParsedPage {
  std::vector<std::string> files;  // the page first, then each include once, as first met
  std::vector<PagePiece> pieces;   // in the order of the text; no piece of HTML is empty
  PageDirectives directives;
  int lastLine = 1;  // of the page file
};

// Takes the page `name` apart, with its includes in place. `siteRoot` ("/shop", or empty) may stand before
// a virtual include. Text is UTF-8, a byte order mark is dropped. A block that ends with a blank and -%> takes the
// line break right behind it with it.
// Throws PageError, naming the file and line at fault, for: a file that is missing, outside the pages folder
// or not UTF-8; an include that is malformed or includes itself; a block that is not closed; a directive
// other than Language=JavaScript, CodePage=65001, LCID=number, EnableSessionState=True|False,
// FormToken=True|False; a page that has
// more than 10,000 includes, 100 of them inside each other, or more than 64 MB of text.
ParsedPage ParsePage(const std::string& name, const PageFiles& files, const std::string& siteRoot = "");

// The number of line ends in `text`: LF, CR LF, or a CR that stands alone.
int CountLineEnds(std::string_view text);

}  // namespace hostlinux
