#include "varnel/list/ListChoice.h"

#include <algorithm>

#include "varnel/automation/Convert.h"
#include "varnel/list/ListState.h"

namespace varnel {

namespace {

namespace parameter = list_parameter;

String Given(const ListDeclared& declared, const host::IRequestCollection& query, StringView name) {
  return ToText(query.Value(declared.name + u"-" + String(name)));
}

bool StandsForItself(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'-' ||
         c == u'.' || c == u'_' || c == u'~' || c == u',';
}

bool HasNul(const String& text) { return text.find(u'\0') != String::npos; }

// The name of a parameter, for the log: a visitor's text may be long.
String Shown(StringView text) { return u"\"" + String(text.substr(0, 80)) + u"\""; }

String ReadSorts(const ListDeclared& declared, const String& text, std::vector<ListSort>& o_sorts) {
  for (const String& entry : Split(text, u",")) {
    const bool ascending = !entry.starts_with(u'-');
    const int column = declared.ColumnNamed(ascending ? entry : entry.substr(1));
    const auto position = static_cast<std::size_t>(column);
    if (column < 0 || !declared.columns[position]->m_bSortable)
      return u"a sort by " + Shown(entry) + u", which the list doesn't offer";
    const bool isTwice = std::any_of(o_sorts.begin(), o_sorts.end(),
                                     [&](const ListSort& sort) { return sort.column == position; });
    if (isTwice || o_sorts.size() == declared.mostSorts) return u"too many columns in a sort";
    o_sorts.push_back({position, ascending});
  }
  return {};
}

bool IsOption(const ListFilter& filter, const String& value) {
  return std::any_of(filter.options.begin(), filter.options.end(),
                     [&](const ListOption& option) { return option.value == value; });
}

String ReadFilters(const ListDeclared& declared, const host::IRequestCollection& query,
                   std::vector<String>& o_values) {
  for (const ListFilter& filter : declared.filters) {
    String value = Given(declared, query, String(parameter::kFilter) + filter.field);
    const bool isGood = value.size() <= kMostFilterUnits && !HasNul(value) &&
                        (value.empty() || !filter.isGiven || IsOption(filter, value));
    if (!isGood) return u"a value of the filter " + filter.field + u" that the list doesn't offer";
    o_values.push_back(std::move(value));
  }
  return {};
}

String ReadPageSize(const ListDeclared& declared, const String& text, Long& o_size) {
  o_size = declared.pageSizes.front();
  if (text.empty()) return {};
  for (const Long size : declared.pageSizes) {
    if (text != DecimalText(size)) continue;
    o_size = size;
    return {};
  }
  return u"a page size of " + Shown(text) + u", which the list doesn't offer";
}

// Check boxes come with ", " between them, links with ",". Of too many the last ones are left out.
String ReadSelected(const ListDeclared& declared, const String& text, std::vector<String>& o_rows) {
  if (text.empty()) return {};
  if (declared.mostSelected == 0) return u"a selection, which the list doesn't offer";
  for (const String& piece : Split(text, u",")) {
    String row = Trim(piece);
    const auto keys = ReadListKeys(row);
    if (!keys || keys->size() != declared.keys.size()) return u"a damaged selection";
    const bool isNew = std::find(o_rows.begin(), o_rows.end(), row) == o_rows.end();
    if (isNew && o_rows.size() < declared.mostSelected) o_rows.push_back(std::move(row));
  }
  return {};
}

// A parameter of the list that it doesn't have: a filter, above all.
String UnknownParameter(const ListDeclared& declared, const host::IRequestCollection& query) {
  const String prefix = declared.name + u"-";
  const Long count = query.Count();
  for (Long i = 1; i <= count; ++i) {
    const String key = query.Key(i);
    if (!EqualsNoCase(StringView(key).substr(0, prefix.size()), prefix)) continue;
    const StringView name = StringView(key).substr(prefix.size());
    if (EqualsNoCase(name.substr(0, parameter::kFilter.size()), parameter::kFilter)) {
      const StringView field = name.substr(parameter::kFilter.size());
      const bool isDeclared =
          std::any_of(declared.filters.begin(), declared.filters.end(),
                      [&](const ListFilter& filter) { return EqualsNoCase(filter.field, field); });
      if (!isDeclared) return u"a filter by " + Shown(field) + u", which the list doesn't offer";
    }
  }
  return {};
}

}  // namespace

int ListDeclared::ColumnNamed(StringView columnName) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i]->IsNamed(columnName)) return static_cast<int>(i);
  }
  return -1;
}

bool ListChoice::IsSelected(StringView row) const {
  return std::find(selected.begin(), selected.end(), row) != selected.end();
}

bool ListChoice::IsNarrowed() const {
  return !search.empty() ||
         std::any_of(filters.begin(), filters.end(), [](const String& value) { return !value.empty(); });
}

String ReadChoice(const ListDeclared& declared, const host::IRequestCollection& query, ListChoice& o_choice) {
  o_choice = {};
  String fault = UnknownParameter(declared, query);
  if (fault.empty()) fault = ReadSorts(declared, Given(declared, query, parameter::kSort), o_choice.sorts);
  if (fault.empty()) fault = ReadFilters(declared, query, o_choice.filters);
  if (fault.empty())
    fault = ReadPageSize(declared, Given(declared, query, parameter::kPageSize), o_choice.pageSize);
  if (fault.empty())
    fault = ReadSelected(declared, Given(declared, query, parameter::kSelected), o_choice.selected);
  if (!fault.empty()) return fault;
  o_choice.search = Trim(Given(declared, query, parameter::kSearch));
  if (o_choice.search.empty()) return {};
  if (declared.searched.empty()) return u"a search, which the list doesn't offer";
  if (o_choice.search.size() > kMostSearchUnits || HasNul(o_choice.search))
    return u"a search that is too long";
  return {};
}

std::vector<SortField> SortOf(const ListDeclared& declared, const ListChoice& choice) {
  if (choice.sorts.empty()) return declared.defaultSort;
  std::vector<SortField> fields;
  for (const ListSort& sort : choice.sorts) {
    const ListColumn& column = *declared.columns[sort.column];
    fields.push_back({column.SortName(), column.SortExpression(), sort.ascending});
  }
  return fields;
}

ListChoice AfterPress(const ListDeclared& declared, const ListChoice& choice, std::size_t column) {
  ListChoice next = choice;
  // The default isn't the visitor's: his first press begins anew, and turns the default around where it is that.
  if (choice.sorts.empty()) {
    const bool isDefault = !declared.defaultSort.empty() &&
                           EqualsNoCase(declared.defaultSort[0].Name, declared.columns[column]->SortName());
    next.sorts = {{column, !isDefault || !declared.defaultSort[0].Ascending}};
    return next;
  }
  const auto sorted = std::find_if(next.sorts.begin(), next.sorts.end(),
                                   [&](const ListSort& sort) { return sort.column == column; });
  if (sorted == next.sorts.end()) {
    if (next.sorts.size() == declared.mostSorts) next.sorts.pop_back();
    next.sorts.push_back({column, true});
  } else if (sorted->ascending) {
    sorted->ascending = false;
  } else {
    next.sorts.erase(sorted);
  }
  return next;
}

std::vector<ListPair> PairsOf(const ListDeclared& declared, const ListChoice& choice) {
  std::vector<ListPair> pairs;
  const auto add = [&](StringView name, String value) {
    pairs.push_back({declared.name + u"-" + String(name), std::move(value)});
  };
  if (!choice.search.empty()) add(parameter::kSearch, choice.search);
  for (std::size_t i = 0; i < choice.filters.size(); ++i) {
    if (!choice.filters[i].empty())
      add(String(parameter::kFilter) + declared.filters[i].field, choice.filters[i]);
  }
  String sort;
  for (const ListSort& entry : choice.sorts) {
    sort += sort.empty() ? u"" : u",";
    sort += entry.ascending ? u"" : u"-";
    sort += declared.columns[entry.column]->m_sField;
  }
  if (!sort.empty()) add(parameter::kSort, std::move(sort));
  if (choice.pageSize != declared.pageSizes.front()) add(parameter::kPageSize, DecimalText(choice.pageSize));
  String selected;
  for (const String& row : choice.selected) selected += (selected.empty() ? u"" : u",") + row;
  if (!selected.empty()) add(parameter::kSelected, std::move(selected));
  return pairs;
}

void AppendUrlText(String& out, StringView text) {
  constexpr StringView kDigits = u"0123456789ABCDEF";
  const auto plain = std::find_if_not(text.begin(), text.end(), StandsForItself);
  out.append(text.begin(), plain);
  if (plain == text.end()) return;
  for (const char c : ToUtf8({plain, text.end()})) {
    const auto byte = static_cast<unsigned char>(c);
    if (StandsForItself(byte)) {
      out += byte;
    } else if (c == ' ') {
      out += u'+';
    } else {
      out.append({u'%', kDigits[byte >> 4], kDigits[byte & 15]});
    }
  }
}

String UrlText(StringView text) {
  String encoded;
  AppendUrlText(encoded, text);
  return encoded;
}

ListAddress::ListAddress(String name, String path, const host::IRequestCollection& query)
    : m_name(std::move(name)), m_path(std::move(path)) {
  const String prefix = m_name + u"-";
  const Long count = query.Count();
  m_base = m_path;
  for (Long i = 1; i <= count; ++i) {
    String key = query.Key(i);
    if (EqualsNoCase(StringView(key).substr(0, prefix.size()), prefix)) continue;
    String value = query.ValueAt(i);
    m_base += m_others.empty() ? u'?' : u'&';
    AppendUrlText(m_base, key);
    m_base += u'=';
    AppendUrlText(m_base, value);
    m_others.push_back({std::move(key), std::move(value)});
  }
}

String ListAddress::Url(const std::vector<ListPair>& pairs) const {
  std::size_t units = m_base.size();
  for (const ListPair& pair : pairs) units += pair.name.size() + pair.value.size() + 2;
  String url;
  url.reserve(units);
  url += m_base;
  char16_t separator = m_others.empty() ? u'?' : u'&';
  for (const ListPair& pair : pairs) {
    url += separator;
    AppendUrlText(url, pair.name);
    url += u'=';
    AppendUrlText(url, pair.value);
    separator = u'&';
  }
  return url;
}

}  // namespace varnel
