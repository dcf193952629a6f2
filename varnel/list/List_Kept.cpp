// What a list's markup depends on: all that the page declared, and all of the request that a list looks at.
#include "varnel/automation/Convert.h"
#include "varnel/list/KeptMarkup.h"
#include "varnel/list/List.h"

namespace varnel {

namespace {

void Add(MarkupKeyText& io_key, const std::vector<String>& texts) {
  io_key.Add(static_cast<std::int64_t>(texts.size()));
  for (const String& text : texts) io_key.Add(StringView(text));
}

void Add(MarkupKeyText& io_key, const ListColumnFields& column) {
  for (const String* text :
       {&column.m_sName, &column.m_sField, &column.m_sTitle, &column.m_sExpression, &column.m_Link.file,
        &column.m_Link.field, &column.m_Link.parameter, &column.m_sAlign, &column.m_sSortName})
    io_key.Add(StringView(*text));
  io_key.Add(static_cast<std::int64_t>(column.m_eFormat));
  io_key.Add(std::int64_t{column.m_lDecimals});
  io_key.Add(std::int64_t{column.m_bSortable});
}

void Add(MarkupKeyText& io_key, const ListFilter& filter) {
  for (const String* text : {&filter.field, &filter.expression, &filter.label}) io_key.Add(StringView(*text));
  io_key.Add(std::int64_t{filter.isGiven});
  if (!filter.isGiven) return;
  io_key.Add(static_cast<std::int64_t>(filter.options.size()));
  for (const ListOption& option : filter.options) {
    io_key.Add(StringView(option.value));
    io_key.Add(StringView(option.label));
  }
}

void Add(MarkupKeyText& io_key, const ListDeclared& declared) {
  io_key.Add(StringView(declared.name));
  io_key.Add(static_cast<std::int64_t>(declared.columns.size()));
  for (const auto& column : declared.columns) Add(io_key, *column);
  io_key.Add(static_cast<std::int64_t>(declared.defaultSort.size()));
  for (const SortField& field : declared.defaultSort) {
    io_key.Add(StringView(field.Name));
    io_key.Add(StringView(field.Expression));
    io_key.Add(std::int64_t{field.Ascending});
  }
  Add(io_key, declared.searched);
  io_key.Add(static_cast<std::int64_t>(declared.filters.size()));
  for (const ListFilter& filter : declared.filters) Add(io_key, filter);
  io_key.Add(static_cast<std::int64_t>(declared.pageSizes.size()));
  for (const Long size : declared.pageSizes) io_key.Add(std::int64_t{size});
  io_key.Add(static_cast<std::int64_t>(declared.mostSorts));
  Add(io_key, declared.keys);
  io_key.Add(static_cast<std::int64_t>(declared.mostSelected));
}

// Texts and numbers that are written alike aren't the same to an engine.
std::int64_t KindOf(const Variant& value) {
  if (value.IsNull()) return 0;
  if (value.IsText()) return 1;
  if (value.Is<double>()) return 2;
  if (value.Is<Date>()) return 3;
  return 4;
}

// False for a value that has no text.
bool Add(MarkupKeyText& io_key, const host::StatementParameters& parameters) {
  io_key.Add(static_cast<std::int64_t>(parameters.values.size()));
  for (const host::StatementParameter& parameter : parameters.values) {
    if (parameter.Value.Is<BytesPtr>()) return false;
    io_key.Add(StringView(parameter.Name));
    io_key.Add(KindOf(parameter.Value));
    io_key.Add(StringView(parameter.Value.IsNull() ? String() : ToText(parameter.Value)));
  }
  return true;
}

void Add(MarkupKeyText& io_key, const ListWords& words) {
  io_key.Add(std::int64_t{words.Language()});
  io_key.Add(static_cast<std::int64_t>(words.Own().size()));
  for (const auto& [word, text] : words.Own()) {
    io_key.Add(static_cast<std::int64_t>(word));
    io_key.Add(StringView(text));
  }
}

void Add(MarkupKeyText& io_key, const host::IRequestCollection& query) {
  const Long count = query.Count();
  io_key.Add(std::int64_t{count});
  for (Long i = 1; i <= count; ++i) {
    io_key.Add(StringView(query.Key(i)));
    io_key.Add(StringView(query.ValueAt(i)));
  }
}

}  // namespace

// A page's own function may write anything, a button bears a token of the session, a watcher sees every list, and an answer
// that depends on the request's head is none of these.
std::optional<String> List::MarkupKey() const {
  if (!m_vActions.empty() || m_bAnswersJson || host::Platform().ListWatcher() != nullptr) return std::nullopt;
  for (const auto& column : m_Declared.columns) {
    if (column->m_Template != nullptr) return std::nullopt;
  }
  MarkupKeyText key;
  if (!Add(key, m_Parameters)) return std::nullopt;
  key.Add(StringView(m_sTitle));
  key.Add(StringView(m_sQuery));
  Add(key, m_Declared);
  key.Add(static_cast<std::int64_t>(m_Counting.kind));
  key.Add(std::int64_t{m_Counting.most});
  key.Add(std::int64_t{m_lPageNumbers});
  Add(key, m_Words);
  Add(key, m_vExports);
  for (const auto& column : m_Declared.columns) {
    if (!column->m_Link.file.empty()) key.Add(StringView(PageUrl(column->m_Link.file)));
  }
  const host::IStateGuard* guard = host::StateGuard();
  key.Add(StringView(guard == nullptr ? String() : guard->Basis()));
  key.Add(StringView(ToText(m_oRequest->ServerVariables().Value(u"URL"))));
  Add(key, m_oRequest->QueryString());
  return key.Take();
}

}  // namespace varnel
