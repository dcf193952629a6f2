#include "host-linux/advice/ListLooks.h"

#include <optional>

#include "varnel/automation/Convert.h"
#include "varnel/recordset/DFields.h"

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::String;
using varnel::host::StatementParameters;

constexpr Long kMostSeconds = 1;  // of one look

std::optional<StatementResult> Ask(AdoConnection& connection, const String& sql,
                                   const StatementParameters& parameters) {
  try {
    return connection.Look(sql, parameters, kMostSeconds);
  } catch (const std::exception&) {
    return std::nullopt;  // its own read says what is wrong
  }
}

std::vector<String> ColumnsOf(const StatementResult& result) {
  std::vector<String> names;
  if (result.columns == nullptr) return names;
  for (const ResultColumn& column : *result.columns) names.push_back(column.name);
  return names;
}

String InBrackets(const String& name) { return u"[" + name + u"]"; }

// The key columns by which the result is grouped.
String KeyColumns(const String& keys) {
  String columns;
  for (const String& key : varnel::Split(keys, u",")) {
    if (varnel::Trim(key).empty()) continue;
    columns += (columns.empty() ? u"" : u", ") + InBrackets(String(varnel::FieldKey(varnel::Trim(key))));
  }
  return columns;
}

String DoubledKey(const ListTexts& list, const StatementParameters& parameters, AdoConnection& connection) {
  const String keys = KeyColumns(list.keys);
  const auto found = Ask(connection,
                         u"SELECT " + keys + u", COUNT(*) FROM (" + list.query + u") AS listed GROUP BY " +
                             keys + u" HAVING COUNT(*) > 1 LIMIT 1",
                         parameters);
  if (!found || found->rows.Rows() == 0) return {};
  const std::size_t last = found->rows.Columns() - 1;
  String values;
  for (std::size_t i = 0; i < last; ++i) {
    const varnel::Variant value = found->rows.Value(i, 0);
    values += (values.empty() ? u"" : u", ") + (value.IsNull() ? String(u"NULL") : varnel::ToText(value));
  }
  return u"The key " + list.keys + u" isn't unique: " + varnel::ToText(found->rows.Value(last, 0)) +
         u" rows have " + values.substr(0, 60) +
         u". Pages lose rows that way. Name all columns that together are unique, as in \"ORDERID, LINE\".";
}

}  // namespace

std::vector<String> LookAtList(const ListTexts& list, const StatementParameters& parameters,
                               AdoConnection& connection) {
  std::vector<String> faults;
  const auto result = Ask(connection, u"SELECT * FROM (" + list.query + u") AS listed LIMIT 0", parameters);
  if (!result) return faults;
  const String missing = MissingColumns(ColumnsNeeded(list), ColumnsOf(*result));
  if (!missing.empty()) return {missing};
  const String doubled = DoubledKey(list, parameters, connection);
  if (!doubled.empty()) faults.push_back(doubled);
  return faults;
}

}  // namespace hostlinux
