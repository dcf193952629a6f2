// What a list reads and answers: its markup, a page as JSON, all rows as a file.
#include <algorithm>

#include "varnel/automation/Convert.h"
#include "varnel/list/KeptMarkup.h"
#include "varnel/list/List.h"
#include "varnel/list/ListQuery.h"
#include "varnel/recordset/Required.h"
#include "varnel/recordset/UnionBranches.h"

namespace varnel {

namespace {

constexpr Integer kMostOptions = 200;

// Rows of a file that are read at once.
constexpr Long kRowsOfChunk = 500;

String SortText(const std::vector<SortField>& fields) {
  String text;
  for (const SortField& field : fields)
    text += (text.empty() ? u"" : u", ") + field.Name + (field.Ascending ? u"" : u" DESC");
  return text;
}

// Whoever wants JSON and could show no page.
bool WantsJson(host::IRequest& request) {
  const String accepted = ToLower(ToText(request.ServerVariables().Value(u"HTTP_ACCEPT")));
  return accepted.find(u"application/json") != String::npos && accepted.find(u"text/html") == String::npos;
}

void AppendLink(String& links, const String& url, StringView rel) {
  links += links.empty() ? u"<" : u", <";
  links += url + u">; rel=\"" + String(rel) + u"\"";
}

// The page's head is this answer's from here on.
void BeginAnswer(Object& response, StringView contentType) {
  response.CallWith(u"Clear");
  response.Put(u"ContentType", Variant(contentType));
}

}  // namespace

ListSource List::SourceFor(const ListChoice& choice) const {
  ListDeclared compared = m_Declared;
  for (String& field : compared.searched) field = ExpressionOf(field);
  for (ListFilter& filter : compared.filters) filter.expression = ExpressionOf(filter.expression);
  ListCondition condition = ConditionOf(compared, choice);
  ListSource source;
  source.connection = m_oConnection;
  source.branches = BranchesWith(m_sQuery, condition.text);
  source.parameters = m_Parameters;
  for (auto& parameter : condition.parameters) source.parameters.values.push_back(std::move(parameter));
  source.fields = WithKeys(SortOf(m_Declared, choice));
  return source;
}

// A position holds for the choices that it was made with.
std::uint32_t List::ContextFor(const ListChoice& choice) const {
  ListChoice read = choice;
  read.selected.clear();
  String text;
  for (const ListPair& pair : PairsOf(m_Declared, read)) text += pair.name + u"\n" + pair.value + u"\n";
  return ContextOf(text);
}

// A pressed button goes before the page's own.
String List::PositionText() const {
  const String pressed = ParameterOf(list_parameter::kGoTo);
  return pressed.empty() ? ParameterOf(list_parameter::kPosition) : pressed;
}

String List::Leaving(const ListPosition& position) const {
  host::IStateGuard* guard = host::StateGuard();
  const String text = WriteListPosition(position);
  return guard == nullptr ? text : guard->Leaving(text, m_Declared.name);
}

ListPosition List::PositionFor(const ListChoice& choice, const ListSource& source) const {
  const String text = PositionText();
  if (text.empty()) return {};
  if (host::IStateGuard* guard = host::StateGuard()) {
    const String sort = SortText(source.fields);
    guard->Admit({text, m_Declared.name, sort, {}, source.branches, true});
  }
  const auto position = ReadListPosition(text);
  if (!position) Refuse(u"a damaged position");
  if (position->context != ContextFor(choice)) Refuse(u"a position of another choice");
  if (position->HasAnchor() && position->keys.size() != source.fields.size())
    Refuse(u"a wrong number of keys");
  if (position->skipped > m_lPageNumbers || (position->skipped > 0 && source.IsUnion()))
    Refuse(u"too many pages at once");
  return *position;
}

void List::TellWatcher(const ListSource& source) const {
  host::IListWatcher* watcher = host::Platform().ListWatcher();
  if (watcher == nullptr) return;
  String keys;
  for (const String& key : m_Declared.keys) keys += (keys.empty() ? u"" : u", ") + key;
  const std::vector<String> declared;
  const String sort = SortText(source.fields);
  watcher->Opening({m_Declared.name, m_sQuery, keys, sort, declared,
                    m_Counting.kind == ListCounting::Kind::Exact, m_Parameters, m_oConnection});
}

std::vector<ListOption> List::OptionsOf(const ListFilter& filter) const {
  std::vector<ListOption> options;
  ListSource source;
  source.parameters = m_Parameters;
  for (const String& branch : SplitUnionBranches(m_sQuery)) {
    const String query = DistinctQuery(branch, ExpressionOf(filter.expression), kMostOptions + 1);
    if (query.empty()) return {};
    const auto recordset = NewListRecordset(source, kMostOptions + 1);
    OpenDisconnected(m_oConnection, *recordset, query);
    const host::RowBlock rows =
        recordset->IsEOF() ? host::RowBlock() : ReadAllRows(m_oConnection, *recordset);
    for (std::size_t row = 0; row < rows.Rows(); ++row) {
      String value = PlainText(rows.At(0, row));
      const bool isNew = std::none_of(options.begin(), options.end(),
                                      [&](const ListOption& option) { return option.value == value; });
      if (isNew && !value.empty()) options.push_back({value, value});
    }
    recordset->Close();
    if (options.size() > static_cast<std::size_t>(kMostOptions)) return {};
  }
  return options;
}

void List::FillFilters() {
  for (ListFilter& filter : m_Declared.filters) {
    if (!filter.isGiven && filter.options.empty()) filter.options = OptionsOf(filter);
  }
}

std::shared_ptr<const ListPage> List::PageOf(const ListChoice& choice, const ListSource& source) const {
  const ListPosition position = PositionFor(choice, source);
  TellWatcher(source);
  return std::make_shared<const ListPage>(ReadListPage(source, position, choice.pageSize, m_Counting,
                                                       [this](const String& reason) { Refuse(reason); }));
}

// The first page needs no position.
String List::UrlOf(const ListAddress& address, const ListChoice& choice, const ListPosition& position,
                   const String& as) const {
  std::vector<ListPair> pairs = PairsOf(m_Declared, choice);
  if (!as.empty()) pairs.push_back({NameOf(list_parameter::kAs), as});
  if (position.move != ListPosition::Move::First) {
    pairs.push_back({NameOf(list_parameter::kPosition), Leaving(position)});
  }
  return address.Url(pairs);
}

String List::Markup(const ListChoice& choice, const ListSource& source, const ListAddress& address) {
  const std::shared_ptr<const ListPage> page = PageOf(choice, source);
  FillFilters();
  const ListWays ways = WaysFrom(source, *page, choice.pageSize, m_lPageNumbers, ContextFor(choice));
  const auto url = [&](const ListChoice& chosen, const ListPosition& at) {
    return UrlOf(address, chosen, at, u"");
  };
  ListFormat format(m_Words.Language());
  const std::vector<SortField> sort = SortOf(m_Declared, choice);
  return WriteListMarkup({m_sTitle, m_Declared, choice, page, ways, address, m_Words, format, sort,
                          m_vActions, m_vExports, m_vActions.empty() ? String() : m_oContext->FormFields(),
                          url, [this](const ListPosition& at) { return Leaving(at); }, PositionText(),
                          [this](const String& file) { return PageUrl(file); }});
}

String List::PageUrl(const String& file) const {
  const String none;
  return m_oPage->URL(file, none, none, none, none, none, none, none, none, none, none, none, none);
}

// What the request wants in place of the markup: "page", a kind of file, or nothing.
String List::AskedFor() const {
  String as = ParameterOf(list_parameter::kAs);
  if (as.empty()) return m_bAnswersJson && WantsJson(*m_oRequest) ? String(u"page") : String();
  const bool isOffered = (as == u"page" && m_bAnswersJson) ||
                         std::find(m_vExports.begin(), m_vExports.end(), as) != m_vExports.end();
  if (!isOffered) Refuse(u"an answer that the list doesn't offer");
  return as;
}

void List::AnswerJson(const ListChoice& choice, const ListSource& source, const ListAddress& address) const {
  const std::shared_ptr<const ListPage> page = PageOf(choice, source);
  const ListWays ways = WaysFrom(source, *page, choice.pageSize, 0, ContextFor(choice));
  const String as = ParameterOf(list_parameter::kAs);
  String links;
  for (const auto& [position, rel] : {std::pair(ways.first, u"first"), std::pair(ways.previous, u"prev"),
                                      std::pair(ways.next, u"next"), std::pair(ways.last, u"last")}) {
    if (position) AppendLink(links, UrlOf(address, choice, *position, as), rel);
  }
  String text = u"{\"title\":";
  AppendJsonText(text, m_sTitle);
  text += u",\"first\":" + (page->firstRecord == 0 ? String(u"null") : DecimalText(page->firstRecord));
  text += u",\"total\":" + (page->total.IsKnown() ? DecimalText(page->total.rows) : String(u"null"));
  text += page->total.IsExact() ? u",\"isExact\":true,\"rows\":[" : u",\"isExact\":false,\"rows\":[";
  const ListFile file(ListFileKind::Json, m_Declared, *page);
  for (std::size_t row = 0; row < page->count; ++row) {
    text += row == 0 ? u"\n" : u",\n";
    file.AppendRow(text, *page, row);
  }
  text += u"\n]}\n";
  const ObjectPtr response = m_oContext->Item(u"Response");
  BeginAnswer(Required(response), u"application/json");
  response->CallWith(u"AddHeader", u"Vary", u"Accept");
  if (!links.empty()) response->CallWith(u"AddHeader", u"Link", links);
  response->CallWith(u"Write", text);
  response->CallWith(u"End");
}

// In chunks that each begin behind the last row of the one before: neither the server nor the database holds more.
void List::StreamRows(ListFileKind kind, const ListSource& source, Object& response) const {
  const ListCounting uncounted{ListCounting::Kind::None};
  const auto refuse = [this](const String& reason) { Refuse(reason); };
  ListPosition position;
  bool isFirst = true;
  for (;;) {
    const ListPage page = ReadListPage(source, position, kRowsOfChunk, uncounted, refuse);
    const ListFile file(kind, m_Declared, page);
    String text;
    if (isFirst) text = (kind == ListFileKind::Csv && m_bExportMark ? u"\uFEFF" : u"") + file.Begin();
    for (std::size_t row = 0; row < page.count; ++row) {
      if (!isFirst || row > 0) text += file.Separator();
      file.AppendRow(text, page, row);
    }
    isFirst = false;
    if (!page.hasNext) text += file.End();
    response.CallWith(u"Write", text);
    if (!page.hasNext) return;
    response.CallWith(u"Flush");
    if (!ToBoolean(response.Get(u"IsClientConnected"))) return;
    position.move = ListPosition::Move::Next;
    position.firstRecord = 0;
    position.keys = KeysOfRow(source, page, page.count - 1);
  }
}

void List::AnswerFile(ListFileKind kind, const ListSource& source) const {
  const ObjectPtr response = m_oContext->Item(u"Response");
  const Long rows = CountListRows(source);
  if (rows > m_lMostExported) {
    ListFormat format(m_Words.Language());
    BeginAnswer(Required(response), u"text/plain");
    response->Put(u"Status", u"413 Content Too Large");
    response->CallWith(
        u"Write",
        Filled(m_Words[ListWord::TooMany], format.Count(rows), format.Count(m_lMostExported)) + u"\n");
  } else {
    BeginAnswer(Required(response), TypeOf(kind).contentType);
    response->CallWith(u"AddHeader", u"Content-Disposition", DispositionOf(m_sTitle, kind));
    StreamRows(kind, source, *response);
  }
  response->CallWith(u"End");
}

void List::WriteInto(host::IResponse& response) {
  RequireBound();
  if (m_Declared.columns.empty()) RaiseRuntimeError(runtime_error::kInvalidArgument, u"a list has a column");
  KeptMarkup markup(m_oConnection, [this] { return MarkupKey(); });
  if (const String* kept = markup.Find()) return response.Write(*kept);
  const host::IRequestCollection& query = m_oRequest->QueryString();
  const ListChoice choice = Chosen();
  const ListSource source = SourceFor(choice);
  const ListAddress address(m_Declared.name, ToText(m_oRequest->ServerVariables().Value(u"URL")), query);
  const String as = AskedFor();
  if (as.empty()) {
    const String text = Markup(choice, source, address);
    markup.Keep(text);
    return response.Write(text);
  }
  if (as == u"page") return AnswerJson(choice, source, address);
  AnswerFile(*FileKindNamed(as), source);
}

}  // namespace varnel
