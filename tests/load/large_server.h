// A server with much in it, and what has to be there at the end of a run.
#pragma once

#include <map>
#include <string>

#include "tests/load/requests.h"
#include "tests/support/real_server.h"

namespace kelvarion::load {

struct Size {
  int repositories = 1000;
  int users = 5000;
  int rules = 10'000;
};

// What stands on the server for the whole run. Half of the rules are in one large file, that of the
// first project, which everybody may read; all projects share the rest, each in one section.
struct Standing {
  explicit Standing(const Size& size);

  static std::string Project(int number) { return "project-" + std::to_string(number); }
  static std::string User(int number) { return "user-" + std::to_string(number); }
  static std::string LargePath(int section) { return "/branches/" + std::to_string(section); }
  static std::string Group(int number) { return "group-" + std::to_string(number); }

  // The accounts with a rule at the root of a project are those from its first one on; the
  // account's number says what it may do.
  Json Rules(int project) const { return Rules(FirstUser(project), rules_each); }
  int FirstUser(int project) const { return project * rules_each % users; }
  static int Level(int user) { return user % 3; }

  int repositories;
  int users;
  int groups;
  int rules_each;      // Of the root of every project.
  int large_sections;  // Paths of the first project that have kSectionRules rules each.

 private:
  friend Tally Fill(const std::string&, const Standing&, int);
  Json Rules(int first_user, int count) const;
};
inline constexpr int kSectionRules = 20;

// Makes all of it by requests of so many clients; how long they took.
Tally Fill(const std::string& socket, const Standing& standing, int clients);

// The files of a home by what is in them, or by their names alone where contents may differ.
// Whatever a run leaves behind shows as a difference.
using Contents = std::map<std::string, std::string>;
Contents ContentsOf(const testing::RealServer& server);
// What is in one only, or differs; empty when they are alike.
std::string Differences(const Contents& before, const Contents& after);

}  // namespace kelvarion::load
