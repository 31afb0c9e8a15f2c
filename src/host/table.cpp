#include "host/table.h"

#include <libsmartcols/libsmartcols.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "host/text.h"

namespace kelvarion::host {
namespace {

struct Unref {
  void operator()(libscols_table* table) const { scols_unref_table(table); }
};

// Close enough for aligning: one column a character.
int DisplayWidth(const std::string& text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace

int Table::Width(std::size_t count) const {
  int total = 0;
  for (std::size_t column = 0; column < count; ++column) {
    int widest = DisplayWidth(headings[column]);
    for (const auto& row : rows) widest = std::max(widest, DisplayWidth(row[column]));
    total += widest + (column > 0 ? 1 : 0);
  }
  return total;
}

std::string Table::Render(std::size_t count) const {
  const std::unique_ptr<libscols_table, Unref> table(scols_new_table());
  if (!table) throw std::bad_alloc();
  for (std::size_t column = 0; column < count; ++column)
    scols_table_new_column(table.get(), headings[column].c_str(), 0, 0);
  for (const auto& row : rows) {
    libscols_line* const line = scols_table_new_line(table.get(), nullptr);
    if (!line) throw std::bad_alloc();
    for (std::size_t column = 0; column < count; ++column)
      scols_line_set_data(line, column, row[column].c_str());
  }
  char* rendered = nullptr;
  if (scols_print_table_to_string(table.get(), &rendered) != 0) throw std::bad_alloc();
  std::string text(rendered);
  std::free(rendered);
  if (!text.ends_with('\n')) text += '\n';
  return text;
}

}  // namespace kelvarion::host
