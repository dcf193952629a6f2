// Rows as files: CSV by RFC 4180, JSON and JSON lines.
#pragma once

#include "varnel/list/ListChoice.h"
#include "varnel/list/ListReader.h"

namespace varnel {

enum class ListFileKind { Csv, Json, JsonLines };

struct ListFileType {
  StringView name;  // in addresses, and the end of the file's name: "csv"
  StringView contentType;
};

ListFileType TypeOf(ListFileKind kind);
// The kind that pages and addresses name so, in any case of letters; nothing for any other name.
std::optional<ListFileKind> FileKindNamed(StringView name);

// The columns of a file, as they stand in the rows of `page`.
class ListFile {
 public:
  ListFile(ListFileKind kind, const ListDeclared& declared, const ListPage& page);

  // What stands before the rows, between two of them, and behind them.
  String Begin() const;
  String Separator() const { return m_kind == ListFileKind::Json ? u",\n" : u""; }
  String End() const { return m_kind == ListFileKind::Json ? u"\n]\n" : u""; }
  // Appends one row: values as they are in the database, numbers with ".", dates as 2024-03-05 or 2024-03-05T10:30:00.
  void AppendRow(String& out, const ListPage& page, std::size_t row) const;

 private:
  void AppendCsvRow(String& out, const ListPage& page, std::size_t row) const;
  void AppendJsonRow(String& out, const ListPage& page, std::size_t row) const;

  const ListFileKind m_kind;
  const ListDeclared& m_declared;
  std::vector<int> m_positions;
};

// A cell of CSV, in quotes where it needs them. A text that a spreadsheet would take for a formula gets a "'" in front.
void AppendCsvCell(String& out, const Variant& value);
// A value of JSON; null for Null and for bytes.
void AppendJsonValue(String& out, const Variant& value);
void AppendJsonText(String& out, StringView text);

// The header Content-Disposition of a file of that title.
String DispositionOf(StringView title, ListFileKind kind);

}  // namespace varnel
