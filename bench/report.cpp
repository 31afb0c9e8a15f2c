#include "bench/report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <set>
#include <stdexcept>

namespace kelvarion::bench {
namespace {

template <class... Args>
std::string Formatted(const char* format, Args... args) {
  char text[64];
  std::snprintf(text, sizeof text, format, args...);
  return text;
}

std::string Time(double seconds) {
  if (seconds >= 1) return Formatted("%.3g s", seconds);
  if (seconds >= 1e-3) return Formatted("%.3g ms", seconds * 1e3);
  return Formatted("%.3g us", seconds * 1e6);
}

std::string Amount(const Row& row, double amount) {
  return row.bytes ? Formatted("%.0f B", amount) : Time(amount);
}

bool AimsAtAmount(const Row& row) { return row.aims_at_amount || !row.amounts.theirs; }

std::string Ratio(const Row& row) {
  if (!row.amounts.theirs) return "-";
  const std::string ratio = Formatted("%.3g", row.amounts.ours / *row.amounts.theirs);
  if (row.amounts.highest == 0) return ratio;
  return ratio + Formatted(" (%.3g-%.3g)", row.amounts.lowest, row.amounts.highest);
}

std::string Aim(const Row& row) {
  return AimsAtAmount(row) ? Amount(row, row.aim) : Formatted("%.3g", row.aim);
}

const char* Verdict(const Row& row) {
  if (!row.judged) return "skipped";
  const double measured =
      AimsAtAmount(row) ? row.amounts.ours : row.amounts.ours / *row.amounts.theirs;
  return measured <= row.aim ? "meets" : "MISSES";
}

using Cells = std::array<std::string, 7>;
constexpr std::array<int, 7> kWidths{54, 30, 8, 8, 22, 8, 7};

const Cells kHeadings{"measured", "against", "ours", "theirs", "ratio", "aim", "verdict"};

Cells CellsOf(const Row& row) {
  return {row.name,
          row.against.empty() ? "-" : row.against,
          Amount(row, row.amounts.ours),
          row.amounts.theirs ? Amount(row, *row.amounts.theirs) : "-",
          Ratio(row),
          Aim(row),
          Verdict(row)};
}

void PrintCells(const Cells& cells) {
  for (std::size_t i = 0; i < cells.size(); ++i)
    std::printf("%-*s%s", kWidths[i], cells[i].c_str(), i + 1 < cells.size() ? "  " : "\n");
}

// As it ends each row of the page.
std::string Command(const std::string& group) { return " `make bench BENCH=" + group + "` |"; }

std::string PageRow(const Row& row) {
  std::string line = "|";
  for (const std::string& cell : CellsOf(row)) line += " " + cell + " |";
  return line + Command(row.group);
}

}  // namespace

void Print(const std::vector<Row>& rows) {
  PrintCells(kHeadings);
  for (const Row& row : rows) PrintCells(CellsOf(row));
}

void WritePage(const std::string& path, const std::vector<Row>& rows, const std::string& machine) {
  std::set<std::string> missing;
  for (const Row& row : rows) missing.insert(row.group);
  const std::set<std::string> measured = missing;
  std::string page;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    const auto group = std::ranges::find_if(
        measured, [&](const std::string& name) { return line.ends_with(Command(name)); });
    if (line.starts_with("Machine: ")) {
      page += "Machine: " + machine + "\n";
    } else if (group == measured.end()) {
      page += line + "\n";
    } else if (missing.erase(*group) != 0) {
      for (const Row& row : rows)
        if (row.group == *group) page += PageRow(row) + "\n";
    }
  }
  in.close();
  if (!missing.empty())
    throw std::runtime_error(path + " has no row that ends with" + Command(*missing.begin()));
  if (!(std::ofstream(path) << page).flush()) throw std::runtime_error(path + " cannot be written");
}

}  // namespace kelvarion::bench
