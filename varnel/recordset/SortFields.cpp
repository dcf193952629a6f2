#include "varnel/recordset/SortFields.h"

#include <algorithm>

namespace varnel {

namespace {

constexpr StringView kDescending = u" DESC";
constexpr StringView kAscending = u" ASC";
constexpr StringView kAlias = u" AS ";

bool EndsNoCase(StringView text, StringView ending) {
  return text.size() >= ending.size() && EqualsNoCase(text.substr(text.size() - ending.size()), ending);
}

String WithoutEnd(StringView text, StringView ending) {
  return Trim(text.substr(0, text.size() - ending.size()));
}

SortField FieldOf(const String& column, bool ascending) {
  const auto alias = FindNoCase(column, kAlias);
  if (alias == String::npos) return {column, column, ascending};
  return {column.substr(alias + kAlias.size()), column.substr(0, alias), ascending};
}

SortField ParseSortEntry(const String& text) {
  const String entry = TrimRight(text);
  if (EndsNoCase(entry, kDescending)) return FieldOf(WithoutEnd(entry, kDescending), false);
  if (EndsNoCase(entry, kAscending)) return FieldOf(WithoutEnd(entry, kAscending), true);
  return FieldOf(Trim(entry), true);
}

bool Names(const std::vector<SortField>& fields, const String& name) {
  return std::any_of(fields.begin(), fields.end(),
                     [&](const SortField& field) { return EqualsNoCase(field.Name, name); });
}

}  // namespace

void ReverseSort(std::vector<SortField>& ioFields) {
  for (SortField& field : ioFields) field.Ascending = !field.Ascending;
}

std::vector<SortField> ParseSortFields(const PersistedState& iState, const String& iPrimaryKeyFields) {
  std::vector<SortField> fields;
  if (!Trim(iState.SortFields).empty()) {
    for (const String& entry : Split(iState.SortFields, u",")) fields.push_back(ParseSortEntry(entry));
  }
  for (const String& piece : Split(iPrimaryKeyFields, u",")) {
    const String key = Trim(piece);
    if (!Names(fields, key)) fields.push_back({key, String(), true});
  }
  if (iState.SortReversed) ReverseSort(fields);
  if (iState.NavType >= nav_type::kPrevious) ReverseSort(fields);
  return fields;
}

}  // namespace varnel
