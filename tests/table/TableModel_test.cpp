// Random tables against a model of what is taken: where cells land, which stores fail, and whether a browser
// that lays the HTML out finds every position filled exactly once.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <set>

#include "TableHost.h"

namespace varnel {
namespace {

// A drawn cell with its place in the browser's grid, from 0.
struct DrawnCell {
  int row;
  int col;
  int rowSpan;
  int colSpan;
  std::string text;
};

int NumberBehind(const std::string& tag, const std::string& name) {
  const std::size_t at = tag.find(" " + name + "=\"");
  return at == std::string::npos ? 1 : std::stoi(tag.substr(at + name.size() + 3));
}

// Takes the range; false if a position of it is taken already.
bool Take(std::set<std::pair<int, int>>& taken, const DrawnCell& cell) {
  bool wasFree = true;
  for (int row = cell.row; row < cell.row + cell.rowSpan; ++row) {
    for (int col = cell.col; col < cell.col + cell.colSpan; ++col) {
      wasFree = taken.emplace(row, col).second && wasFree;
    }
  }
  return wasFree;
}

// Lays rows out as browsers do: each cell goes to the first free column of its row.
std::vector<DrawnCell> LayOut(const std::string& rows, std::set<std::pair<int, int>>& taken) {
  std::vector<DrawnCell> cells;
  int row = -1;
  std::size_t at = 0;
  while (at < rows.size()) {
    if (rows.compare(at, 4, "<tr>") == 0) ++row;
    if (rows.compare(at, 3, "<td") == 0) {
      const std::size_t end = rows.find('>', at);
      const std::string tag = rows.substr(at, end - at);
      DrawnCell cell{row, 0, NumberBehind(tag, "rowspan"), NumberBehind(tag, "colspan"), ""};
      while (taken.contains({row, cell.col})) ++cell.col;
      cell.text = rows.substr(end + 1, rows.find("</td>", end) - end - 1);
      EXPECT_TRUE(Take(taken, cell)) << "cells overlap at " << row << ", " << cell.col << " in " << rows;
      cells.push_back(cell);
    }
    ++at;
  }
  return cells;
}

class TableModel : public TableTest {
 protected:
  int Random(int from, int to) { return std::uniform_int_distribution<int>(from, to)(m_random); }

  // The first position of the rectangle, row by row, that is taken.
  std::optional<std::pair<int, int>> FirstTaken(const DrawnCell& cell) const {
    for (int row = cell.row; row < cell.row + cell.rowSpan; ++row) {
      for (int col = cell.col; col < cell.col + cell.colSpan; ++col) {
        if (m_taken.contains({row, col})) return std::pair(row, col);
      }
    }
    return std::nullopt;
  }

  // Writes one cell at the cursor. False if it failed, which is checked against the model.
  bool WriteAtCursor(Table& table, int number) {
    DrawnCell cell{m_row, m_col, Random(1, 10) == 1 ? Random(2, 4) : 1, Random(1, 6) == 1 ? Random(2, 4) : 1,
                   "c" + std::to_string(number)};
    while (m_taken.contains({m_row, cell.col})) ++cell.col;
    table.SetNextCellRowSpan(static_cast<Integer>(cell.rowSpan));
    table.SetNextCellColSpan(static_cast<Integer>(cell.colSpan));
    const auto collision = FirstTaken(cell);
    const ErrInfo error = ErrorOf([&] { table.Cell(FromUtf8(cell.text)); });
    if (collision) {
      EXPECT_EQ(Utf8(error.Description), "Trying to overwrite data at row " +
                                             std::to_string(collision->first + 1) + " colunmn " +
                                             std::to_string(collision->second + 1) + ". Data: " + cell.text);
      return false;
    }
    EXPECT_EQ(error.Number, 0);
    Take(m_taken, cell);
    m_cells.push_back(cell);
    m_col = cell.col + cell.colSpan;
    return true;
  }

  // One step of a random page script; false where the table failed.
  bool Step(Table& table, int number) {
    switch (Random(0, 9)) {
      case 0:
        table.SkipCell(1);
        ++m_col;
        return true;
      case 1:
      case 2:
        table.NewRow();
        m_row += m_col > 0 ? 1 : 0;
        m_col = 0;
        return true;
      default:
        return WriteAtCursor(table, number);
    }
  }

  bool Fill(Table& table, int steps) {
    m_row = m_col = 0;
    m_taken.clear();
    m_cells.clear();
    for (int i = 0; i < steps; ++i) {
      if (!Step(table, i)) return false;
    }
    return true;
  }

  // Every position of the used rectangle is drawn exactly once, and nothing outside of it.
  void CheckFilled(const Table& table, const std::set<std::pair<int, int>>& drawn) {
    const CellPosition last = table.LastUsed();
    std::pair<int, int> corner{-1, -1};
    for (const auto& [row, col] : m_taken) {
      corner = {std::max(corner.first, row), std::max(corner.second, col)};
    }
    EXPECT_EQ(std::pair(last.row, last.col), corner);
    EXPECT_EQ(drawn.size(), static_cast<std::size_t>((last.row + 1) * (last.col + 1)));
    for (const auto& [row, col] : drawn) EXPECT_TRUE(row <= last.row && col <= last.col);
  }

  // Each written cell is drawn at its place with at least its size.
  void CheckPlaces(const std::vector<DrawnCell>& drawn, bool mayGrow) {
    std::map<std::string, DrawnCell> byText;
    for (const DrawnCell& cell : drawn) {
      if (cell.text != "&nbsp;") byText[cell.text] = cell;
    }
    EXPECT_EQ(byText.size(), m_cells.size());
    for (const DrawnCell& cell : m_cells) {
      const DrawnCell& found = byText[cell.text];
      EXPECT_EQ(std::pair(found.row, found.col), std::pair(cell.row, cell.col));
      const bool sameSize = found.rowSpan == cell.rowSpan && found.colSpan == cell.colSpan;
      EXPECT_TRUE(sameSize || mayGrow);
      EXPECT_TRUE(found.rowSpan >= cell.rowSpan && found.colSpan >= cell.colSpan);
      EXPECT_TRUE(cell.colSpan == 1 || found.colSpan == cell.colSpan);
      EXPECT_TRUE(cell.rowSpan == 1 || found.rowSpan == cell.rowSpan);
    }
  }

  std::mt19937 m_random{20240229};
  int m_row = 0;
  int m_col = 0;
  std::set<std::pair<int, int>> m_taken;
  std::vector<DrawnCell> m_cells;
};

TEST_F(TableModel, RandomTablesFillTheirRectangle) {
  int drawnTables = 0;
  for (int round = 0; round < 400; ++round) {
    const auto table = NewTable();
    const bool extending = round % 2 == 0;
    table->SetAutoCellExtending(extending);
    if (!Fill(*table, Random(0, 90))) continue;
    const std::string rows = RowsOf(*table);
    std::set<std::pair<int, int>> drawn;
    const std::vector<DrawnCell> cells = LayOut(rows, drawn);
    CheckFilled(*table, drawn);
    CheckPlaces(cells, extending);
    EXPECT_EQ(RowsOf(*table), rows);
    ++drawnTables;
    if (HasFailure()) return;
  }
  EXPECT_GT(drawnTables, 50);
}

TEST_F(TableModel, LongTablesKeepEveryRow) {
  const auto table = NewTable();
  constexpr int kRows = 2000;
  for (int row = 0; row < kRows; ++row) {
    if (row % 100 == 0) table->Title(u"part");
    for (int col = 0; col < 5; ++col) table->Cell(Long{row * 5 + col});
    table->NewRow();
  }
  const std::string rows = RowsOf(*table);
  EXPECT_EQ(table->LastUsed(), (CellPosition{kRows + kRows / 100 - 1, 4}));
  EXPECT_THAT(rows, ::testing::HasSubstr("<tr><td>5</td><td>6</td><td>7</td><td>8</td><td>9</td></tr>\r\n"));
  EXPECT_THAT(rows, ::testing::EndsWith("<td>9999</td></tr>\r\n"));
}

}  // namespace
}  // namespace varnel
