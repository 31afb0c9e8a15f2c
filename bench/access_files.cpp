#include "bench/access_files.h"

#include <fstream>

namespace kelvarion::bench {
namespace {

constexpr int kSections = 500;
constexpr int kRulesEach = 20;
constexpr int kUsers = 5000;
constexpr int kGroups = 100;

std::string User(int number) { return "user" + std::to_string(number % kUsers); }

std::string Path(int section) {
  if (section == 0) return "/";
  return section == 1 ? "/trunk" : "/trunk/folder" + std::to_string(section);
}

}  // namespace

void WriteUsers(const std::string& path) {
  std::ofstream users(path, std::ios::binary);
  for (int i = 0; i < kUsers; ++i) users << User(i) << ":$apr1$saltsalt$0123456789012345678901\r\n";
}

void WriteGroups(const std::string& path) {
  std::ofstream groups(path, std::ios::binary);
  groups << "[groups]\r\n";
  for (int i = 0; i < kGroups; ++i) {
    groups << "group" << i << "=";
    for (int member = 0; member < kUsers / kGroups; ++member)
      groups << User(i * (kUsers / kGroups) + member) << ",";
    for (int next = i + 1; i % 10 == 0 && next < i + 10; ++next) groups << "@group" << next << ",";
    groups << "\r\n";
  }
}

void WriteRules(const std::string& path, Accounts accounts) {
  const bool machine = accounts == Accounts::kMachine;
  const auto group = [&](int number) {
    return (machine ? "S-1-22-2-" : "@group") + std::to_string(number % kGroups);
  };
  const auto user = [&](int number) {
    return machine ? "S-1-22-1-" + std::to_string(number % kUsers) : User(number);
  };
  std::ofstream rules(path, std::ios::binary);
  for (int i = 0; i < kSections; ++i) {
    rules << "[" << Path(i) << "]\r\n";
    for (int rule = 0; rule < kRulesEach; ++rule) {
      if (rule < 5)
        rules << group(i * 7 + rule * 10) << "=rw\r\n";
      else
        rules << user(i * 31 + rule * 17) << (rule % 2 ? "=r" : "=rw") << "\r\n";
    }
    rules << "\r\n";
  }
}

}  // namespace kelvarion::bench
