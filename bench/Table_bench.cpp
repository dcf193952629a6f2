// A table's HTML against bare appends of the same pieces, and with the filling of its cells.
#include <string>
#include <vector>

#include "bench/Ratio.h"
#include "host-fake/FakeHost.h"
#include "varnel/page/Page.h"
#include "varnel/table/Table.h"

namespace {

using varnel::String;

constexpr int kRows = 20;
constexpr int kColumns = 6;
const String kText = u"8086:1533 I210 Gigabit Network Connection";

std::shared_ptr<varnel::Table> FilledTable(varnel::Page& page) {
  const auto table = varnel::CastObject<varnel::Table>(page.Table());
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) table->Cell(kText);
    table->NewRow();
  }
  return table;
}

// The same text as its rendering, cut where tags begin and end: what no program can do without.
std::vector<String> PiecesOf(const String& html) {
  std::vector<String> pieces;
  std::size_t start = 0;
  for (std::size_t at = 1; at < html.size(); ++at) {
    if (html[at] != u'<' && html[at - 1] != u'>') continue;
    pieces.push_back(html.substr(start, at - start));
    start = at;
  }
  pieces.push_back(html.substr(start));
  return pieces;
}

}  // namespace

int main() {
  hostfake::FakeHost host;
  host.Application().Set(u"TableRowBgColor", u"#ffffff");
  host.Application().Set(u"TableRowFont", u"Verdana");
  host.Application().Set(u"TableRowFontSize", u"2");
  const auto page = host.Create<varnel::Page>(u"Varnel.Page");
  const auto table = FilledTable(*page);
  const std::vector<String> pieces = PiecesOf(table->GetHTML());
  const auto appends = [&] {
    String text;
    for (const String& piece : pieces) text += piece;
    bench::Keep(text);
  };
  std::printf("A table of %d rows and %d columns:\n", kRows, kColumns);
  bench::PrintRatio(
      "rendering", "bare appends", 500, [&] { bench::Keep(table->GetHTML()); }, appends);
  bench::PrintRatio(
      "filling and rendering", "bare appends", 200, [&] { bench::Keep(FilledTable(*page)->GetHTML()); },
      appends);
}
