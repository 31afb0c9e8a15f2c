// kelvarion-bench [GROUP]...: prints one row per measure of the groups, or of all; see harness.h
// for what a row says.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include "bench/measures.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"

namespace {

using namespace kelvarion::bench;

struct Group {
  const char* name;
  void (*measure)(std::vector<Row>&);
};

constexpr Group kGroups[] = {
    {"dispatch", MeasureDispatch},
    {"enumeration", MeasureEnumeration},
    {"users", MeasureUserCreation},
    {"rule-change", MeasureRuleChange},
    {"rules", MeasureRules},
    {"daemon", MeasureDaemon},
    {"maintenance", MeasureMaintenance},
    {"replication", MeasureReplication},
};

int RefuseName(const char* name) {
  std::fprintf(stderr, "bench: there is no group '%s', only:", name);
  for (const Group& group : kGroups) std::fprintf(stderr, " %s", group.name);
  std::fprintf(stderr, "\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const auto named = [&](const std::string& name) {
    return argc == 1 || std::find(argv + 1, argv + argc, name) != argv + argc;
  };
  for (int i = 1; i < argc; ++i)
    if (std::ranges::find(kGroups, std::string(argv[i]), &Group::name) == std::end(kGroups))
      return RefuseName(argv[i]);
  try {
    std::vector<Row> rows;
    for (const Group& group : kGroups)
      if (named(group.name)) group.measure(rows);
    Print(rows);
    return 0;
  } catch (const kelvarion::Exception& error) {
    std::fprintf(stderr, "bench: %s\n",
                 kelvarion::platform::Utf8ForDisplay(error.Message()).c_str());
    return 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
