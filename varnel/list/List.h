// A whole list of today: reads, sorts, searches, filters, counts and pages a query, and writes all its markup.
#pragma once

#include <memory>

#include "varnel/list/ListExport.h"
#include "varnel/list/ListMarkup.h"
#include "varnel/page/Contracts.h"
#include "varnel/page/Page.h"

namespace varnel {

struct ListFields {
  std::shared_ptr<Page> m_oPage;
  ConnectionPtr m_oConnection;
  std::shared_ptr<host::IObjectContext> m_oContext;
  std::shared_ptr<host::IRequest> m_oRequest;
  String m_sTitle;
  String m_sQuery;
  ListDeclared m_Declared;
  ListCounting m_Counting;
  host::StatementParameters m_Parameters;
  Long m_lPageNumbers = 7;
  ListWords m_Words;
  std::vector<ListAction> m_vActions;
  std::vector<String> m_vExports;
  Long m_lMostExported = 100000;
  bool m_bExportMark = false;
  bool m_bAnswersJson = false;
};

// ProgID "Varnel.List"; made and bound by Page.List: one that no page has bound raises 91. The page declares what the list
// shows and what may be chosen, and hands it to Page.Add.
//
//   var list = page.List("Books", "SELECT ID, TITLE, PRICE FROM BOOK", "ID");
//   list.Column("TITLE", "Title").Link("book.asp", "ID");
//   list.Column("PRICE", "Price").Format("number", 2);
//   list.Search("TITLE");
//   page.Add(list);
//
// What isn't declared is refused: where somebody guards the lists (varnel/host/IStateGuard.h) the page ends, elsewhere
// `Page.Add` raises 5. Other failures have number 5, and what the database raises.
class List : public Object, public IList, private ListFields {
 public:
  const ClassInfo& Class() const override;
  void LetGo() noexcept override;

  void BindFromPage(const ListBinding& binding) override;
  void WriteInto(host::IResponse& response) override;

  // The next column: a field of the query, as it stands in its select list, and the title above it; left out, that is
  // the field's name. Columns may be sorted by unless they say otherwise.
  std::shared_ptr<ListColumn> Column(const String& name, const Variant& title);
  // The sort of a list that nobody has sorted, as "PRICE DESC, TITLE". Without it the keys sort.
  void Sort(const String& sortFields);
  // At most so many columns sort together, 3 at first.
  void MostSorts(Long columns);
  // Offers a search in these fields, texts all of them.
  void Search(Arguments fields);
  // Offers a filter. `values` are the values that it may have, each alone or as [value, label]; left out, the visitor
  // chooses among those that the query's rows have, or writes one where there are more than 200.
  void Filter(const String& field, const Variant& values, const Variant& label);
  // How many rows a page has, 1 to 1000; of several the visitor chooses, and the first is what he gets without.
  void PageSizes(Arguments sizes);
  // At most so many page numbers, 0 to 30; 7 at first.
  void PageNumbers(Long count);
  // "exact", "capped" at `most` (1 to 30000, 10000 at first), "estimated" or "none".
  void Total(const String& kind, const Variant& most);
  // The value of `:name` in the query. Raises 5 for a name that begins with "VL_", and as DRecordset.SetParameter.
  void Parameter(const String& name, const Variant& value);
  // The locale whose language and numbers the list writes; the session's at first.
  void Locale(Long lcid);
  // The list's own word `name`, such as "search", in place of its language's.
  void Text(const String& name, const String& text);
  // A check box in each row, for at most `most` rows on all pages together, 1 to 500; 200 where it is left out. The
  // selection is kept from page to page. Further buttons of it belong to the form of the name "L1-selection".
  void Selectable(const Variant& most);
  // The selected rows, an array of their keys as texts; of arrays of texts where a row has several keys. They are what a
  // visitor says.
  Variant Selected() const;

  // Offers all rows of the visitor's choice as files: "csv", "json", "jsonl". They stream as they are read.
  void Export(Arguments kinds);
  // A file has at most so many rows, 1 to 100000000, 100000 at first: a longer list is answered with 413 instead.
  void ExportLimit(Long rows);
  // Whether CSV begins with the mark that tells spreadsheets of UTF-8.
  void ExportMark(bool hasMark);
  // A page of the list is answered as JSON, with Link headers, where the request accepts that and no HTML, or its
  // parameter "L1-as" is "page".
  void Json();

  // A button in each row that posts its value of `field` to page `file`, as `parameter`; left out, as `field`.
  void Action(const String& label, const String& file, const String& field, const Variant& parameter);

 private:
  void RequireBound() const;
  String NameOf(StringView parameter) const;
  String ParameterOf(StringView parameter) const;
  String ExpressionOf(const String& field) const;
  std::vector<SortField> WithKeys(std::vector<SortField> fields) const;
  // What the request has chosen; refused where it may not be.
  ListChoice Chosen() const;
  [[noreturn]] void Refuse(const String& reason) const;

  // List_Answers.cpp
  ListSource SourceFor(const ListChoice& choice) const;
  String PositionText() const;
  String Leaving(const ListPosition& position) const;
  ListPosition PositionFor(const ListChoice& choice, const ListSource& source) const;
  std::uint32_t ContextFor(const ListChoice& choice) const;
  void TellWatcher(const ListSource& source) const;
  void FillFilters();
  std::vector<ListOption> OptionsOf(const ListFilter& filter) const;
  std::shared_ptr<const ListPage> PageOf(const ListChoice& choice, const ListSource& source) const;
  String UrlOf(const ListAddress& address, const ListChoice& choice, const ListPosition& position,
               const String& as) const;
  String PageUrl(const String& file) const;
  // List_Kept.cpp: what the markup for this request depends on besides the database; nothing where that can't be said.
  std::optional<String> MarkupKey() const;
  String AskedFor() const;
  String Markup(const ListChoice& choice, const ListSource& source, const ListAddress& address);
  void AnswerJson(const ListChoice& choice, const ListSource& source, const ListAddress& address) const;
  void AnswerFile(ListFileKind kind, const ListSource& source) const;
  void StreamRows(ListFileKind kind, const ListSource& source, Object& response) const;
};

ObjectPtr MakeList();

}  // namespace varnel
