// Prints one row per measure; see harness.h for what a row says.

#include <cstdio>
#include <exception>

#include "bench/measures.h"

int main() {
  using namespace kelvarion::bench;
  try {
    std::vector<Row> rows;
    MeasureDispatch(rows);
    MeasureEnumeration(rows);
    MeasureUserCreation(rows);
    MeasureRuleChange(rows);
    MeasureDaemon(rows);
    Print(rows);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
