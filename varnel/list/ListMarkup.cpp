#include "varnel/list/ListMarkup.h"

#include <algorithm>

#include "varnel/automation/Convert.h"
#include "varnel/recordset/PageQuery.h"

namespace varnel {

namespace {

namespace parameter = list_parameter;

String Html(StringView text) {
  String encoded;
  AppendHtml(encoded, text);
  return encoded;
}

// What of a column is the same in every row.
struct CellPlan {
  const ListColumn* column = nullptr;
  int position = -1;  // among the result's columns
  String open;        // the tag of the cell
  String link;        // the address up to the value
  int linkPosition = -1;
};

bool IsNumberColumn(const ListPage& page, int position) {
  if (position < 0 || page.count == 0) return false;
  const Variant& value = page.At(static_cast<std::size_t>(position), 0);
  return value.Is<Long>() || value.Is<double>() || value.Is<Integer>();
}

String SideOf(const ListColumn& column, const ListPage& page, int position) {
  if (!column.m_sAlign.empty()) return column.m_sAlign == u"start" ? String() : column.m_sAlign;
  const bool isNumber = column.m_eFormat == ListFormatKind::Number || IsNumberColumn(page, position);
  return isNumber && column.m_Template == nullptr ? u"end" : u"";
}

class Markup {
 public:
  explicit Markup(const ListView& view) : m_view(view), m_page(*view.page) {}

  String Write() {
    MakePlans();
    m_out.reserve(4096 + 160 * m_page.count * (m_plans.size() + 1));
    m_out += u"<section class=\"varnel-list\" id=\"" + m_view.declared.name + u"\" aria-labelledby=\"" +
             m_view.declared.name + u"-title\">\n";
    WriteForm();
    if (IsSelectable()) WriteSelectionForm();
    WriteTable();
    WritePages();
    if (IsSelectable()) WriteSelection();
    WriteExports();
    m_out += u"</section>\n";
    return std::move(m_out);
  }

 private:
  StringView Word(ListWord word) const { return m_view.words[word]; }
  String Name(StringView parameterName) const { return m_view.declared.name + u"-" + String(parameterName); }

  void Append(StringView tags) { m_out += tags; }
  void AppendText(StringView text) { AppendHtml(m_out, text); }

  // --- The form

  bool HasForm() const {
    return !m_view.declared.searched.empty() || !m_view.declared.filters.empty() ||
           m_view.declared.pageSizes.size() > 1;
  }

  void WriteForm() {
    if (!HasForm()) return;
    Append(u"<form class=\"vl-form\" method=\"get\" role=\"search\" aria-label=\"");
    AppendText(m_view.title + u": " + String(Word(ListWord::Search)));
    Append(u"\" action=\"");
    AppendText(m_view.address.Path());
    Append(u"\">\n");
    for (const ListPair& other : m_view.address.Others()) WriteHidden(other.name, other.value);
    WriteSortField();
    if (!m_view.declared.searched.empty()) WriteSearch();
    for (std::size_t i = 0; i < m_view.declared.filters.size(); ++i) WriteFilter(i);
    if (m_view.declared.pageSizes.size() > 1) WritePageSizes();
    Append(u"<button type=\"submit\">");
    AppendText(Word(ListWord::Show));
    Append(u"</button>\n");
    if (m_view.choice.IsNarrowed()) {
      ListChoice all = m_view.choice;
      all.search.clear();
      all.filters.assign(all.filters.size(), String());
      WriteLink(m_view.url(all, {}), Word(ListWord::Reset), u" class=\"vl-reset\"");
      Append(u"\n");
    }
    Append(u"</form>\n");
  }

  void WriteHidden(StringView name, StringView value) {
    Append(u"<input type=\"hidden\" name=\"");
    AppendText(name);
    Append(u"\" value=\"");
    AppendText(value);
    Append(u"\">\n");
  }

  // A form's fields take the place of the address's parameters: what isn't chosen in it goes along.
  void WriteSortField() {
    for (const ListPair& pair : PairsOf(m_view.declared, m_view.choice)) {
      const bool isOther = pair.name == Name(parameter::kSort) || pair.name == Name(parameter::kSelected);
      if (isOther) WriteHidden(pair.name, pair.value);
    }
  }

  // --- The selection

  bool IsSelectable() const { return m_view.declared.mostSelected > 0; }
  String SelectionForm() const { return Name(u"selection"); }

  String RowText(std::size_t row) const {
    std::vector<Variant> keys;
    for (const String& key : m_view.declared.keys) {
      const int column = m_page.ColumnNamed(FieldOfName(key));
      const Variant& value = ValueAt(column, row);
      keys.push_back(value.IsNull() ? value
                                    : KeyValueToText(value, m_page.types[static_cast<std::size_t>(column)]));
    }
    return WriteListKeys(keys);
  }

  // Stands before the table, whose check boxes belong to it by its name: rows may hold forms of their own.
  void WriteSelectionForm() {
    m_out += u"<form id=\"" + SelectionForm() + u"\" method=\"get\" action=\"";
    AppendText(m_view.address.Path());
    Append(u"\">\n");
    for (const ListPair& other : m_view.address.Others()) WriteHidden(other.name, other.value);
    ListChoice kept = m_view.choice;
    for (std::size_t row = 0; row < m_page.count; ++row) std::erase(kept.selected, RowText(row));
    for (const ListPair& pair : PairsOf(m_view.declared, kept)) WriteHidden(pair.name, pair.value);
    if (!m_view.here.empty()) WriteHidden(Name(parameter::kPosition), m_view.here);
    Append(u"</form>\n");
  }

  void WriteSelection() {
    m_out += u"<p class=\"vl-selection\"><button type=\"submit\" form=\"" + SelectionForm() + u"\">";
    AppendText(Word(ListWord::Keep));
    Append(u"</button>");
    if (!m_view.choice.selected.empty()) {
      ListChoice none = m_view.choice;
      none.selected.clear();
      Append(u" <span role=\"status\">");
      AppendText(Filled(Word(ListWord::Selected),
                        m_view.format.Count(static_cast<std::int64_t>(m_view.choice.selected.size()))));
      Append(u"</span> ");
      WriteLink(m_view.url(none, {}), Word(ListWord::Unselect));
    }
    Append(u"</p>\n");
  }

  void WriteCheckBox(std::size_t row) {
    const String text = RowText(row);
    m_out += u"<td class=\"vl-select\"><input type=\"checkbox\" form=\"" + SelectionForm() + u"\" name=\"" +
             Name(parameter::kSelected) + u"\" value=\"" + text + u"\" aria-label=\"";
    AppendText(Filled(Word(ListWord::Select), NameOfRow(row)));
    Append(m_view.choice.IsSelected(text) ? u"\" checked></td>" : u"\"></td>");
  }

  // What tells a row to people: its first cell.
  String NameOfRow(std::size_t row) const {
    return m_plans.empty() ? String() : PlainText(ValueAt(m_plans[0].position, row));
  }

  void WriteLabel(StringView name, StringView text) {
    Append(u"<label for=\"");
    AppendText(name);
    Append(u"\">");
    AppendText(text);
    Append(u"</label>\n");
  }

  void WriteSearch() {
    const String name = Name(parameter::kSearch);
    Append(u"<span class=\"vl-field\">");
    WriteLabel(name, Word(ListWord::Search));
    m_out += u"<input type=\"search\" id=\"" + name + u"\" name=\"" + name + u"\" maxlength=\"" +
             DecimalText(kMostSearchUnits) + u"\" value=\"";
    AppendText(m_view.choice.search);
    Append(u"\"></span>\n");
  }

  void WriteOption(StringView value, StringView label, bool isChosen) {
    Append(u"<option value=\"");
    AppendText(value);
    Append(isChosen ? u"\" selected>" : u"\">");
    AppendText(label);
    Append(u"</option>");
  }

  void OpenSelect(const String& name) {
    Append(u"<select id=\"");
    AppendText(name);
    Append(u"\" name=\"");
    AppendText(name);
    Append(u"\">");
  }

  void WriteFilter(std::size_t position) {
    const ListFilter& filter = m_view.declared.filters[position];
    const String& chosen = m_view.choice.filters[position];
    const String name = Name(String(parameter::kFilter) + filter.field);
    Append(u"<span class=\"vl-field\">");
    WriteLabel(name, filter.label);
    if (filter.options.empty()) {
      Append(u"<input id=\"");
      AppendText(name);
      Append(u"\" name=\"");
      AppendText(name);
      m_out += u"\" maxlength=\"" + DecimalText(kMostFilterUnits) + u"\" value=\"";
      AppendText(chosen);
      Append(u"\"></span>\n");
      return;
    }
    OpenSelect(name);
    WriteOption(u"", Word(ListWord::All), chosen.empty());
    bool isAmongThem = chosen.empty();
    for (const ListOption& option : filter.options) {
      WriteOption(option.value, option.label, option.value == chosen);
      isAmongThem = isAmongThem || option.value == chosen;
    }
    if (!isAmongThem) WriteOption(chosen, chosen, true);
    Append(u"</select></span>\n");
  }

  void WritePageSizes() {
    const String name = Name(parameter::kPageSize);
    Append(u"<span class=\"vl-field\">");
    WriteLabel(name, Word(ListWord::PageSize));
    OpenSelect(name);
    for (const Long size : m_view.declared.pageSizes)
      WriteOption(DecimalText(size), m_view.format.Count(size), size == m_view.choice.pageSize);
    Append(u"</select></span>\n");
  }

  // --- The table

  void MakePlans() {
    for (const auto& column : m_view.declared.columns) {
      CellPlan plan;
      plan.column = column.get();
      plan.position = m_page.ColumnNamed(column->m_sField);
      const String side = SideOf(*column, m_page, plan.position);
      plan.open = u"<td";
      if (!side.empty()) plan.open += u" class=\"vl-" + side + u"\"";
      plan.open += u" data-label=\"" + Html(column->m_sTitle) + u"\">";
      if (!column->m_Link.file.empty()) {
        const String url = m_view.pageUrl(column->m_Link.file);
        plan.linkPosition = m_page.ColumnNamed(column->m_Link.field);
        plan.link = u"<a href=\"" + Html(url) + (url.find(u'?') == String::npos ? u"?" : u"&amp;") +
                    UrlText(column->m_Link.parameter) + u"=";
      }
      m_plans.push_back(std::move(plan));
    }
  }

  void WriteTable() {
    Append(u"<table>\n<caption><span class=\"vl-title\" id=\"");
    Append(m_view.declared.name);
    Append(u"-title\">");
    AppendText(m_view.title);
    Append(u"</span>");
    const String counter = CounterText(m_page, m_view.words, m_view.format);
    if (!counter.empty()) {
      Append(u" <span class=\"vl-count\">");
      AppendText(counter);
      Append(u"</span>");
    }
    Append(u"</caption>\n<thead>\n<tr>");
    if (IsSelectable()) {
      Append(u"<th scope=\"col\"><span class=\"vl-hidden\">");
      AppendText(Trim(Filled(Word(ListWord::Select), u"")));
      Append(u"</span></th>");
    }
    for (std::size_t i = 0; i < m_plans.size(); ++i) WriteHead(i);
    if (!m_view.actions.empty()) {
      Append(u"<th scope=\"col\">");
      AppendText(Word(ListWord::Actions));
      Append(u"</th>");
    }
    Append(u"</tr>\n</thead>\n<tbody>\n");
    const auto row = std::make_shared<ListRow>(m_view.page);
    for (std::size_t i = 0; i < m_page.count; ++i) WriteRow(i, row);
    if (m_page.count == 0) WriteNothing();
    Append(u"</tbody>\n</table>\n");
    row->LetGo();
  }

  void WriteNothing() {
    m_out += u"<tr><td class=\"vl-nothing\" colspan=\"" +
             DecimalText(static_cast<std::int64_t>(m_plans.size() + (m_view.actions.empty() ? 0U : 1U) +
                                                   (IsSelectable() ? 1U : 0U))) +
             u"\">";
    AppendText(Word(ListWord::Nothing));
    Append(u"</td></tr>\n");
  }

  // The place of the column in the sort, from 0; -1 if it isn't in it.
  int SortPlaceOf(const ListColumn& column) const {
    for (std::size_t i = 0; i < m_view.sort.size(); ++i) {
      if (EqualsNoCase(m_view.sort[i].Name, column.SortName())) return static_cast<int>(i);
    }
    return -1;
  }

  void WriteHead(std::size_t position) {
    const ListColumn& column = *m_plans[position].column;
    const int place = SortPlaceOf(column);
    const bool ascending = place >= 0 && m_view.sort[static_cast<std::size_t>(place)].Ascending;
    const String side = SideOf(column, m_page, m_plans[position].position);
    Append(u"<th scope=\"col\"");
    if (!side.empty()) m_out += u" class=\"vl-" + side + u"\"";
    // Of several columns only the first: that is what readers of screens expect.
    if (place == 0) Append(ascending ? u" aria-sort=\"ascending\"" : u" aria-sort=\"descending\"");
    Append(u">");
    if (column.m_bSortable) {
      WriteSortLink(position, column, place, ascending);
    } else {
      AppendText(column.m_sTitle);
    }
    Append(u"</th>");
  }

  void WriteSortLink(std::size_t position, const ListColumn& column, int place, bool ascending) {
    const ListChoice next = AfterPress(m_view.declared, m_view.choice, position);
    const auto pressed = std::find_if(next.sorts.begin(), next.sorts.end(),
                                      [&](const ListSort& sort) { return sort.column == position; });
    const ListWord does = pressed == next.sorts.end() ? ListWord::Unsort
                          : pressed->ascending        ? ListWord::SortUp
                                                      : ListWord::SortDown;
    Append(u"<a href=\"");
    AppendText(m_view.url(next, {}));
    Append(u"\" title=\"");
    AppendText(column.m_sTitle + u": " + String(Word(does)));
    Append(u"\">");
    AppendText(column.m_sTitle);
    if (place >= 0) WriteSortMark(place, ascending);
    Append(u"</a>");
  }

  void WriteSortMark(int place, bool ascending) {
    Append(ascending ? u" <span class=\"vl-up\" aria-hidden=\"true\">\u25b2"
                     : u" <span class=\"vl-down\" aria-hidden=\"true\">\u25bc");
    if (m_view.sort.size() > 1) AppendDecimal(m_out, place + 1);
    Append(u"</span>");
    if (place == 0) return;
    Append(u"<span class=\"vl-hidden\"> (");
    AppendText(Word(ascending ? ListWord::SortedUp : ListWord::SortedDown));
    Append(u", ");
    AppendText(Filled(Word(ListWord::SortPlace), DecimalText(place + 1)));
    Append(u")</span>");
  }

  void WriteRow(std::size_t number, const std::shared_ptr<ListRow>& row) {
    Append(u"<tr>");
    if (IsSelectable()) WriteCheckBox(number);
    for (const CellPlan& plan : m_plans) {
      Append(plan.open);
      WriteCell(plan, number, row);
      Append(u"</td>");
    }
    if (!m_view.actions.empty()) WriteActions(number);
    Append(u"</tr>\n");
  }

  const Variant& ValueAt(int position, std::size_t row) const {
    static const Variant kNull{Null()};
    return position < 0 ? kNull : m_page.At(static_cast<std::size_t>(position), row);
  }

  void WriteCell(const CellPlan& plan, std::size_t number, const std::shared_ptr<ListRow>& row) {
    const Variant& value = ValueAt(plan.position, number);
    const Variant& target = ValueAt(plan.linkPosition, number);
    const bool isLink = !plan.link.empty() && !target.IsNull();
    if (isLink) {
      m_out += plan.link;
      AppendUrlText(m_out, PlainText(target));
      Append(u"\">");
    }
    if (plan.column->m_Template != nullptr) {
      WriteTemplate(*plan.column, value, number, row);
    } else {
      m_view.format.AppendCell(m_out, value, *plan.column);
    }
    if (isLink) Append(u"</a>");
  }

  void WriteTemplate(const ListColumn& column, const Variant& value, std::size_t number,
                     const std::shared_ptr<ListRow>& row) {
    row->MoveTo(number);
    Variant arguments[] = {Variant(row), value};
    const ObjectPtr function = column.m_Template;
    m_out += PlainText(ToPlain(function->CallDefault(arguments)));
  }

  void WriteActions(std::size_t number) {
    Append(u"<td class=\"vl-actions\" data-label=\"");
    AppendText(Word(ListWord::Actions));
    Append(u"\">");
    for (const ListAction& action : m_view.actions) {
      const int position = m_page.ColumnNamed(action.field);
      Append(u"<form method=\"post\" action=\"");
      AppendText(m_view.pageUrl(action.file));
      Append(u"\">");
      Append(m_view.formFields);
      WriteHidden(action.parameter, PlainText(ValueAt(position, number)));
      Append(u"<button type=\"submit\">");
      AppendText(action.label);
      Append(u"<span class=\"vl-hidden\"> ");
      AppendText(NameOfRow(number));
      Append(u"</span></button></form>");
    }
    Append(u"</td>");
  }

  // --- What leads away

  void WriteLink(const String& url, StringView text, StringView attributes = {}) {
    Append(u"<a");
    Append(attributes);
    Append(u" href=\"");
    AppendText(url);
    Append(u"\">");
    AppendText(text);
    Append(u"</a>");
  }

  // A link; where rows are selected a button, which takes their check boxes along.
  void WriteWay(const ListPosition& position, StringView text, StringView attributes) {
    if (!IsSelectable()) return WriteLink(m_view.url(m_view.choice, position), text, attributes);
    const bool isLabel = attributes.starts_with(u" aria-label");
    m_out += u"<button type=\"submit\" form=\"" + SelectionForm() + u"\" name=\"" + Name(parameter::kGoTo) +
             u"\" value=\"" + m_view.positionText(position) + u"\"";
    if (isLabel) Append(attributes);
    Append(u">");
    AppendText(text);
    Append(u"</button>");
  }

  void WriteStep(const std::optional<ListPosition>& position, ListWord word, StringView attributes) {
    if (!position) return;
    Append(u"<li>");
    WriteWay(*position, Word(word), attributes);
    Append(u"</li>\n");
  }

  void WriteNumber(const ListStep& step) {
    const String number = m_view.format.Count(step.number);
    Append(u"<li>");
    if (step.isCurrent) {
      Append(u"<span class=\"vl-current\" aria-current=\"page\">");
      AppendText(number);
      Append(u"</span>");
    } else {
      const String label = Html(Filled(Word(ListWord::Page), number));
      WriteWay(step.position, number, u" aria-label=\"" + label + u"\"");
    }
    Append(u"</li>\n");
  }

  void WritePages() {
    const ListWays& ways = m_view.ways;
    if (!ways.previous && !ways.next) return;
    Append(u"<nav class=\"vl-pages\" aria-label=\"");
    AppendText(Filled(Word(ListWord::Pages), m_view.title));
    Append(u"\">\n<ul>\n");
    WriteStep(ways.first, ListWord::First, u" rel=\"first\"");
    WriteStep(ways.previous, ListWord::Previous, u" rel=\"prev\"");
    for (const ListStep& step : ways.numbers) WriteNumber(step);
    WriteStep(ways.next, ListWord::Next, u" rel=\"next\"");
    WriteStep(ways.last, ListWord::Last, u" rel=\"last\"");
    Append(u"</ul>\n</nav>\n");
  }

  void WriteExports() {
    if (m_view.exports.empty()) return;
    Append(u"<p class=\"vl-export\">");
    AppendText(Word(ListWord::Export));
    Append(u":");
    for (const String& kind : m_view.exports) {
      std::vector<ListPair> pairs = PairsOf(m_view.declared, m_view.choice);
      pairs.push_back({Name(parameter::kAs), kind});
      Append(u" ");
      WriteLink(m_view.address.Url(pairs), ToUpper(kind), u" download rel=\"nofollow\"");
    }
    Append(u"</p>\n");
  }

  const ListView& m_view;
  const ListPage& m_page;
  std::vector<CellPlan> m_plans;
  String m_out;
};

}  // namespace

String CounterText(const ListPage& page, const ListWords& words, ListFormat& format) {
  const ListTotal& total = page.total;
  if (total.rows == 0) return {};
  String all = total.IsKnown() ? format.Count(total.rows) : String();
  if (total.isMore) all = Filled(words[ListWord::MoreThan], all);
  if (total.isEstimate) all = Filled(words[ListWord::About], all);
  if (page.firstRecord == 0 || page.count == 0) return all;
  const String first = format.Count(page.firstRecord);
  const String last =
      format.Count(std::int64_t{page.firstRecord} + static_cast<std::int64_t>(page.count) - 1);
  return total.IsKnown() ? Filled(words[ListWord::Counter], first, last, all)
                         : Filled(words[ListWord::Range], first, last);
}

String WriteListMarkup(const ListView& view) { return Markup(view).Write(); }

}  // namespace varnel
