// The border of a list. A list's position travels as a state text in links and hidden fields, and what comes
// back is a visitor's text: its sort becomes SQL. A host that wants to know what comes back guards it by this
// class; without a guard every state text is used as it stands.
#pragma once

#include <vector>

#include "varnel/automation/String.h"

namespace varnel::host {

// A state text that is about to be used for a read.
struct StateInUse {
  StringView text;                      // the whole text, as it came
  StringView recordset;                 // the recordset's name, such as "R_1"; empty for one without a page
  StringView sort;                      // the sort text in it
  const std::vector<String>& columns;   // the entries of the sort, without their directions
  const std::vector<String>& branches;  // the query's text, a SELECT each
  bool isDeclared = false;              // the page has declared this very sort for this recordset
};

class IStateGuard {
 public:
  virtual ~IStateGuard() = default;

  // `text`, which isn't empty, as it leaves in a link or a field of the page that was asked for.
  virtual String Leaving(const String& text, const String& recordset) = 0;
  // The same for another page of the site: `file` is its path below the pages. Raises 5 for a text or a path
  // that can't be one.
  virtual String LeavingFor(const String& text, const String& file, const String& recordset) = 0;

  // Called before the first SQL of a read by a text from outside: returns, or ends the page.
  virtual void Admit(const StateInUse& use) = 0;
  // States that were made for page `file` are as good as this page's own from now on.
  virtual void AcceptStatesOf(const String& file) = 0;
  // Every recordset of the request may be sorted by exactly this text.
  virtual void AllowSort(const String& sort) = 0;

  // Two requests whose guards give the same text here admit the same states, and let the same ones leave in the same form.
  virtual String Basis() const = 0;

  // Ends the page, which is answered as a bad request: throws PageEnded. `reason` is for the log.
  [[noreturn]] virtual void Refuse(const String& reason) = 0;
};

}  // namespace varnel::host
