// kelvarion-bench [--page FILE] [GROUP]...: prints one row per measure of the groups, or of all,
// and puts them into the table of a page; see report.h.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include "bench/measures.h"
#include "bench/report.h"
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
    {"commands", MeasureCommands},
    {"serving", MeasureServing},
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

std::vector<Row> Measure(const std::vector<std::string>& names) {
  std::vector<Row> rows;
  for (const Group& group : kGroups) {
    if (!names.empty() && std::ranges::find(names, group.name) == names.end()) continue;
    const std::size_t before = rows.size();
    group.measure(rows);
    for (std::size_t i = before; i < rows.size(); ++i) rows[i].group = group.name;
  }
  return rows;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> names(argv + 1, argv + argc);
  std::string page;
  if (names.size() > 1 && names[0] == "--page") {
    page = names[1];
    names.erase(names.begin(), names.begin() + 2);
  }
  if (!page.empty() && Quick()) {
    std::fprintf(stderr, "bench: scaled-down data is not for the page\n");
    return 2;
  }
  for (const std::string& name : names)
    if (std::ranges::find(kGroups, name, &Group::name) == std::end(kGroups))
      return RefuseName(name.c_str());
  try {
    const std::string machine = DescribeMachine();
    const std::vector<Row> rows = Measure(names);
    Print(rows);
    if (!page.empty()) WritePage(page, rows, machine);
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
