// The member table, and what a page declares. What is read and written of it has a file of its own.
#include "varnel/list/List.h"

#include <algorithm>

#include "varnel/automation/Members.h"
#include "varnel/list/ListQuery.h"
#include "varnel/recordset/Required.h"
#include "varnel/recordset/UnionBranches.h"

namespace varnel {

namespace {

constexpr Long kMostPageSize = 1000;
constexpr Long kMostPageNumbers = 30;
constexpr Long kMostCapped = 30000;
constexpr Long kMostSelected = 500;
constexpr Long kUsuallySelected = 200;
constexpr Long kMostExported = 100000000;

[[noreturn]] void RaiseInvalid(StringView what) { RaiseRuntimeError(runtime_error::kInvalidArgument, what); }

// The elements of an array, of either side.
std::vector<Variant> ElementsOf(const Variant& value) {
  std::vector<Variant> elements;
  if (const ArrayPtr* array = value.As<ArrayPtr>()) return *array == nullptr ? elements : (*array)->items;
  const ObjectPtr object = value.IsObject() ? ToObject(value) : nullptr;
  const auto enumeration = object == nullptr ? nullptr : object->Enumerate();
  if (enumeration == nullptr) RaiseInvalid(u"the values of a filter are an array");
  for (Variant element; enumeration->Next(element);) elements.push_back(element);
  return elements;
}

ListOption OptionOf(const Variant& element) {
  if (!element.IsObject() && !element.Is<ArrayPtr>()) return {ToText(element), ToText(element)};
  const std::vector<Variant> pair = ElementsOf(element);
  if (pair.size() != 2) RaiseInvalid(u"a value of a filter is a text, or a value and its label");
  return {ToText(pair[0]), ToText(pair[1])};
}

Long InRange(Long value, Long least, Long most, StringView what) {
  if (value < least || value > most)
    RaiseInvalid(String(what) + u": " + DecimalText(least) + u" to " + DecimalText(most));
  return value;
}

bool IsOfName(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
}

}  // namespace

ObjectPtr MakeList() { return std::make_shared<List>(); }

const ClassInfo& List::Class() const {
  static const ClassInfo info{
      u"List",
      {
          Method<&List::Column>(u"Column", {Missing()}).Taking(u"name, title"),
          Method<&List::Sort>(u"Sort").Taking(u"sortFields"),
          Method<&List::MostSorts>(u"MostSorts").Taking(u"columns"),
          Method<&List::Search>(u"Search"),
          Method<&List::Filter>(u"Filter", {Missing(), Missing()}).Taking(u"field, values, label"),
          Method<&List::PageSizes>(u"PageSizes"),
          Method<&List::PageNumbers>(u"PageNumbers").Taking(u"count"),
          Method<&List::Total>(u"Total", {Missing()}).Taking(u"kind, most"),
          Method<&List::Parameter>(u"Parameter").Taking(u"name, value"),
          Method<&List::Locale>(u"Locale").Taking(u"lcid"),
          Method<&List::Text>(u"Text").Taking(u"name, text"),
          Method<&List::Selectable>(u"Selectable", {Missing()}).Taking(u"most"),
          Method<&List::Selected>(u"Selected"),
          Method<&List::Export>(u"Export"),
          Method<&List::ExportLimit>(u"ExportLimit").Taking(u"rows"),
          Method<&List::ExportMark>(u"ExportMark").Taking(u"hasMark"),
          Method<&List::Json>(u"Json"),
          Method<&List::Action>(u"Action", {Missing()}).Taking(u"label, file, field, parameter"),
      }};
  return info;
}

void List::LetGo() noexcept { static_cast<ListFields&>(*this) = {}; }

void List::BindFromPage(const ListBinding& binding) {
  const auto context = host::GetObjectContext();
  const auto request = host::RequiredIntrinsic<host::IRequest>(Required(context), u"Request");
  const auto session = host::RequiredIntrinsic<host::ISession>(*context, u"Session");
  static_cast<ListFields&>(*this) = {};
  m_oPage = binding.page;
  m_oConnection = binding.connection;
  m_oContext = context;
  m_oRequest = request;
  m_sTitle = binding.title;
  m_sQuery = OneLine(binding.query);
  for (const String& key : Split(binding.keys, u",")) m_Declared.keys.push_back(Trim(key));
  const bool isKeyless =
      m_Declared.keys.empty() || std::any_of(m_Declared.keys.begin(), m_Declared.keys.end(),
                                             [](const String& key) { return key.empty(); });
  if (isKeyless) RaiseInvalid(u"a list needs the key of its rows");
  m_Declared.defaultSort = {{m_Declared.keys[0], m_Declared.keys[0], true}};
  if (SplitUnionBranches(m_sQuery).empty()) RaiseInvalid(u"a list needs a query");
  m_Declared.name = u"L" + DecimalText(binding.number);
  m_Words.SetLanguage(session->LCID());
}

void List::RequireBound() const { Required(m_oPage); }

std::shared_ptr<ListColumn> List::Column(const String& name, const Variant& title) {
  RequireBound();
  if (Trim(name).empty()) RaiseInvalid(u"a column has a name");
  if (m_Declared.ColumnNamed(FieldOfName(name)) >= 0)
    RaiseInvalid(u"the list has the column '" + name + u"' already");
  auto column = std::make_shared<ListColumn>(name, title.IsMissing() ? FieldOfName(name) : ToText(title));
  m_Declared.columns.push_back(column);
  return column;
}

void List::Sort(const String& sortFields) {
  RequireBound();
  PersistedState state;
  state.NavType = nav_type::kFirst;
  state.SortFields = sortFields;
  m_Declared.defaultSort = ParseSortFields(state, u"");
  // The key that the empty list of keys has.
  std::erase_if(m_Declared.defaultSort, [](const SortField& field) { return field.Name.empty(); });
}

void List::MostSorts(Long columns) {
  m_Declared.mostSorts = static_cast<std::size_t>(InRange(columns, 1, 8, u"columns of a sort"));
}

void List::Search(Arguments fields) {
  RequireBound();
  for (const Variant& field : fields) m_Declared.searched.push_back(ToText(field));
}

void List::Filter(const String& field, const Variant& values, const Variant& label) {
  RequireBound();
  ListFilter filter;
  filter.field = FieldOfName(field);
  filter.expression = field;
  filter.isGiven = !values.IsMissing();
  if (filter.isGiven) {
    for (const Variant& element : ElementsOf(values)) filter.options.push_back(OptionOf(element));
  }
  const int column = m_Declared.ColumnNamed(field);
  filter.label = !label.IsMissing() ? ToText(label)
                 : column >= 0      ? m_Declared.columns[static_cast<std::size_t>(column)]->m_sTitle
                                    : filter.field;
  m_Declared.filters.push_back(std::move(filter));
}

void List::PageSizes(Arguments sizes) {
  std::vector<Long> chosen;
  for (const Variant& size : sizes)
    chosen.push_back(InRange(ToLong(size), 1, kMostPageSize, u"rows of a page"));
  if (chosen.empty()) RaiseInvalid(u"a list has a page size");
  m_Declared.pageSizes = std::move(chosen);
}

void List::PageNumbers(Long count) { m_lPageNumbers = InRange(count, 0, kMostPageNumbers, u"page numbers"); }

void List::Total(const String& kind, const Variant& most) {
  using Kind = ListCounting::Kind;
  ListCounting counting;
  if (!most.IsMissing())
    counting.most = static_cast<Integer>(InRange(ToLong(most), 1, kMostCapped, u"counted rows"));
  if (EqualsNoCase(kind, u"exact")) {
    counting.kind = Kind::Exact;
  } else if (EqualsNoCase(kind, u"capped")) {
    counting.kind = Kind::Capped;
  } else if (EqualsNoCase(kind, u"estimated")) {
    counting.kind = Kind::Estimated;
  } else if (EqualsNoCase(kind, u"none")) {
    counting.kind = Kind::None;
  } else {
    RaiseInvalid(u"a total is \"exact\", \"capped\", \"estimated\" or \"none\"");
  }
  m_Counting = counting;
}

void List::Parameter(const String& name, const Variant& value) {
  const String bare = name.starts_with(u':') ? name.substr(1) : name;
  const bool isName = !bare.empty() && std::all_of(bare.begin(), bare.end(), IsOfName);
  const bool isOurs = EqualsNoCase(StringView(bare).substr(0, kListParameter.size()), kListParameter);
  if (!isName || isOurs) RaiseInvalid(u"'" + name + u"' is no name of a parameter");
  std::erase_if(m_Parameters.values, [&](const auto& other) { return EqualsNoCase(other.Name, bare); });
  m_Parameters.values.push_back({bare, host::ToParameterValue(value)});
}

void List::Locale(Long lcid) { m_Words.SetLanguage(lcid); }

void List::Text(const String& name, const String& text) { m_Words.Replace(name, text); }

void List::Action(const String& label, const String& file, const String& field, const Variant& parameter) {
  RequireBound();
  const String name = FieldOfName(field);
  m_vActions.push_back({label, file, name, parameter.IsMissing() ? name : ToText(parameter)});
}

void List::Selectable(const Variant& most) {
  RequireBound();
  const Long count = most.IsMissing() ? kUsuallySelected : ToLong(most);
  m_Declared.mostSelected = static_cast<std::size_t>(InRange(count, 1, kMostSelected, u"selected rows"));
}

Variant List::Selected() const {
  RequireBound();
  const auto rows = std::make_shared<Array>();
  for (const String& text : Chosen().selected) {
    const auto keys = std::make_shared<Array>();
    keys->items = ReadListKeys(text).value_or(std::vector<Variant>());
    rows->items.push_back(keys->items.size() == 1 ? keys->items[0] : Variant(keys));
  }
  return Variant(rows);
}

ListChoice List::Chosen() const {
  ListChoice choice;
  const String fault = ReadChoice(m_Declared, m_oRequest->QueryString(), choice);
  if (!fault.empty()) Refuse(fault);
  return choice;
}

void List::Export(Arguments kinds) {
  RequireBound();
  for (const Variant& value : kinds) {
    const auto kind = FileKindNamed(ToText(value));
    if (!kind) RaiseInvalid(u"a list is exported as \"csv\", \"json\" or \"jsonl\"");
    m_vExports.emplace_back(TypeOf(*kind).name);
  }
}

void List::ExportLimit(Long rows) { m_lMostExported = InRange(rows, 1, kMostExported, u"rows of a file"); }

void List::ExportMark(bool hasMark) { m_bExportMark = hasMark; }

void List::Json() { m_bAnswersJson = true; }

String List::NameOf(StringView parameter) const { return m_Declared.name + u"-" + String(parameter); }

String List::ParameterOf(StringView parameter) const {
  return ToText(m_oRequest->QueryString().Value(NameOf(parameter)));
}

// The page's own faults are failures; what only a link can bring about ends the page.
void List::Refuse(const String& reason) const {
  const String text = m_Declared.name + u": " + reason;
  if (host::IStateGuard* guard = host::StateGuard()) guard->Refuse(text);
  RaiseInvalid(text);
}

String List::ExpressionOf(const String& field) const {
  const int column = m_Declared.ColumnNamed(field);
  return column < 0 ? field : m_Declared.columns[static_cast<std::size_t>(column)]->m_sExpression;
}

std::vector<SortField> List::WithKeys(std::vector<SortField> fields) const {
  for (SortField& field : fields) {
    if (field.Expression == field.Name || field.Expression.empty())
      field.Expression = ExpressionOf(field.Name);
  }
  for (const String& key : m_Declared.keys) {
    const bool isNamed = std::any_of(fields.begin(), fields.end(), [&](const SortField& field) {
      return EqualsNoCase(FieldOfName(field.Name), FieldOfName(key));
    });
    if (!isNamed) fields.push_back({key, ExpressionOf(key), true});
  }
  return fields;
}

}  // namespace varnel
