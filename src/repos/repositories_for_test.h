// Repositories in a home of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "context/cancel_callback.h"
#include "platform/text/encoding.h"
#include "tests/support/failure.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::repos {

// Says yes from the nth question on.
struct CancelAt : IcCancelCallback {
  explicit CancelAt(int nth) : left(nth) {}
  bool IsCancelled() const override { return left-- <= 0; }
  mutable int left;
};

class RepositoriesTest : public ::testing::Test {
 protected:
  const ServerContext& context() const { return home_.context(); }
  // A path in the repositories root.
  std::string path(const std::string& name) const { return home_.root() + "/" + name; }
  static std::u16string Wide(const std::string& text) { return platform::Utf16ForDisplay(text); }

  static std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
      names.push_back(entry.path().filename());
    std::erase(names, "Kelvarion-Global.lck");
    return names;
  }
  std::vector<std::string> Root() const { return NamesIn(home_.root()); }

  // What the program prints; a failure fails the test.
  static std::string Run(const std::vector<std::string>& words) {
    const testing::ProcessResult result = testing::RunProcess(words);
    EXPECT_EQ(result.exit_code, 0) << ::testing::PrintToString(words) << result.all();
    return result.out;
  }
  // The message of what the call throws, empty when it succeeds.
  template <class Call>
  static std::string Failure(Call&& call) {
    return platform::Utf8ForDisplay(testing::MessageOf(call));
  }

  testing::TestHome home_;
};

}  // namespace kelvarion::repos
