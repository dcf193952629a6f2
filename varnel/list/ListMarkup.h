// The tags of a list: one table with its caption, heads that sort, a form that searches and filters, and page links. No
// style and no script stands in it; `varnel-list.css` selects by its classes.
#pragma once

#include "varnel/list/ListChoice.h"
#include "varnel/list/ListFormat.h"
#include "varnel/list/ListPages.h"
#include "varnel/list/ListRow.h"
#include "varnel/list/ListWords.h"
#include "varnel/page/Page.h"

namespace varnel {

// A button in each row that posts the row's value of `field` to a page.
struct ListAction {
  String label;
  String file;
  String field;
  String parameter;
};

// All that the markup shows; everything outlives it.
struct ListView {
  const String& title;
  const ListDeclared& declared;
  const ListChoice& choice;
  const std::shared_ptr<const ListPage>& page;
  const ListWays& ways;
  const ListAddress& address;
  const ListWords& words;
  ListFormat& format;
  const std::vector<SortField>& sort;  // the columns that the visitor sees it sorted by
  const std::vector<ListAction>& actions;
  const std::vector<String>& exports;  // "csv", ...
  String formFields;                   // what posted forms must bear, as HTML
  // The address of a position of the list, as it leaves the page.
  std::function<String(const ListChoice& choice, const ListPosition& position)> url;
  // A position alone, as it leaves the page, and the page's own as it came.
  std::function<String(const ListPosition& position)> positionText;
  String here;
  // The address of page `file` of the site.
  std::function<String(const String& file)> pageUrl;
};

// "11 - 20 of 53,591"; empty where nothing is known.
String CounterText(const ListPage& page, const ListWords& words, ListFormat& format);

// The whole list.
String WriteListMarkup(const ListView& view);

}  // namespace varnel
