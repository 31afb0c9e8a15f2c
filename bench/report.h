// What was measured, as people read it.
#pragma once

#include <string>
#include <vector>

#include "bench/harness.h"

namespace kelvarion::bench {

// One line a row: what was measured against what, ours, theirs, the ratio of the medians and in
// brackets those of the best and the worst round, the aim, and meets, MISSES or skipped.
void Print(const std::vector<Row>& rows);

// Puts the rows into the table of a page in Markdown, in the place of its rows of the same groups,
// and the machine in the place of the line that begins with "Machine: ". Throws
// std::runtime_error when the page has no row of a group.
void WritePage(const std::string& path, const std::vector<Row>& rows, const std::string& machine);

// The machine and what it is busy with, in one line.
std::string DescribeMachine();

}  // namespace kelvarion::bench
