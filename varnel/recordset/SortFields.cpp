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

struct SortEntry {
  String column;
  bool ascending = true;
};

SortEntry CutDirection(const String& text) {
  const String entry = TrimRight(text);
  if (EndsNoCase(entry, kDescending)) return {WithoutEnd(entry, kDescending), false};
  if (EndsNoCase(entry, kAscending)) return {WithoutEnd(entry, kAscending), true};
  return {Trim(entry), true};
}

std::vector<SortEntry> CutEntries(StringView sortText) {
  std::vector<SortEntry> entries;
  if (Trim(sortText).empty()) return entries;
  for (const String& entry : Split(sortText, u",")) entries.push_back(CutDirection(entry));
  return entries;
}

bool Names(const std::vector<SortField>& fields, const String& name) {
  return std::any_of(fields.begin(), fields.end(),
                     [&](const SortField& field) { return EqualsNoCase(field.Name, name); });
}

}  // namespace

void ReverseSort(std::vector<SortField>& ioFields) {
  for (SortField& field : ioFields) field.Ascending = !field.Ascending;
}

std::vector<String> SortColumns(StringView iSortText) {
  std::vector<String> columns;
  for (SortEntry& entry : CutEntries(iSortText)) columns.push_back(std::move(entry.column));
  return columns;
}

std::vector<SortField> ParseSortFields(const PersistedState& iState, const String& iPrimaryKeyFields) {
  std::vector<SortField> fields;
  for (const SortEntry& entry : CutEntries(iState.SortFields)) {
    fields.push_back(FieldOf(entry.column, entry.ascending));
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
