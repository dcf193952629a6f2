// The words of a list, in the languages that it knows.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

enum class ListWord {
  Search,    // label of the search
  Show,      // the button of the form
  All,       // of a filter: any value
  PageSize,  // label of the page sizes
  Reset,     // the link back to the list as it was
  First,     // of the page links
  Previous,
  Next,
  Last,
  Pages,     // "Pages of %1": names the page links
  Page,      // "Page %1"
  Counter,   // "%1 - %2 of %3"
  Range,     // "%1 - %2", where nobody knows of how many
  MoreThan,  // "more than %1"
  About,     // "about %1"
  Nothing,   // a list without a row
  SortUp,    // what a press on a head does
  SortDown,
  Unsort,
  SortedUp,  // how a head is sorted
  SortedDown,
  SortPlace,  // "sort criterion %1", where there are several
  Export,     // names the links of the files
  Actions,    // head of the actions
  Select,     // "Select %1"
  Selected,   // "%1 selected"
  Keep,       // the button that takes the check boxes of this page along
  Unselect,   // the link that lets go of the selection
  TooMany,    // "... %1 rows ... at most %2", of a file
  Count
};

// In the language of `lcid`: English, German, French, Polish or Hindi; English for any other.
StringView WordOf(ListWord word, Long lcid);

// Its name, as a page names it that has words of its own: "search". Empty for Count.
StringView NameOfWord(ListWord word);

// `text` with the values in the places of "%1", "%2" and "%3"; a place that is missing takes none.
String Filled(StringView text, StringView first, StringView second = {}, StringView third = {});

}  // namespace varnel
