// Columns, not bytes, stand above one another.

#include "hosts/cli/expression/fault_text.h"

#include "hosts/cli/files/code_page.h"
#include "hosts/cli/output/visible_text.h"

#include <algorithm>
#include <vector>

namespace trovex::cli {

namespace {

constexpr std::size_t kIndent = 4;
constexpr std::string_view kCut = "...";
/// What a mark and a character of two columns need beside what is cut.
constexpr std::size_t kFewestColumns = 16;

/// A character as it is shown.
struct Cell {
  std::string text;
  std::size_t columns;
  bool marked;
};

std::vector<Cell> CellsOf(std::string_view expression, std::size_t begin, std::size_t end) {
  std::vector<Cell> cells;
  for (std::size_t at = 0; at < expression.size();) {
    const auto length = static_cast<std::size_t>(ReadUtf8(expression.substr(at)).length);
    std::string text = VisibleText(expression.substr(at, length));
    if (text == "\t") text = " ";
    const std::size_t columns = ColumnsOf(text);
    const bool marked = at < end ? at + length > begin : begin == end && at == begin;
    cells.push_back({std::move(text), columns, marked});
    at += length;
  }
  if (begin >= expression.size()) cells.push_back({" ", 1, true});
  return cells;
}

/// The cells that fit into `columns`: as many as possible around the first that is marked.
std::pair<std::size_t, std::size_t> FittingCells(const std::vector<Cell>& cells,
                                                 std::size_t columns) {
  const auto isMarked = [](const Cell& cell) { return cell.marked; };
  const auto first = std::find_if(cells.begin(), cells.end(), isMarked);
  auto from = static_cast<std::size_t>(first - cells.begin());
  if (from == cells.size()) from = 0;
  std::size_t to = from;
  std::size_t used = 0;
  // Two thirds go to what stands from the mark on, the rest to what stands before it.
  while (to < cells.size() && used + cells[to].columns <= columns * 2 / 3)
    used += cells[to++].columns;
  while (from > 0 && used + cells[from - 1].columns <= columns)
    used += cells[--from].columns;
  while (to < cells.size() && used + cells[to].columns <= columns)
    used += cells[to++].columns;
  return {from, to};
}

}  // namespace

std::string MarkedExpression(std::string_view expression, std::size_t begin, std::size_t end,
                             std::size_t columns) {
  const std::vector<Cell> cells = CellsOf(expression, begin, end);
  const std::size_t room = std::max(columns, kFewestColumns) - kIndent - 2 * kCut.size() - 1;
  const auto [from, to] = FittingCells(cells, room);
  std::string shown(kIndent, ' ');
  std::string marks(kIndent, ' ');
  if (from > 0) {
    shown += kCut;
    marks.append(kCut.size(), ' ');
  }
  for (std::size_t i = from; i < to; ++i) {
    shown += cells[i].text;
    marks.append(cells[i].columns, cells[i].marked ? '^' : ' ');
  }
  if (to < cells.size()) shown += kCut;
  const auto trim = [](std::string& line) { line.erase(line.find_last_not_of(' ') + 1); };
  trim(shown);
  trim(marks);
  return shown + "\n" + marks + "\n";
}

}  // namespace trovex::cli
