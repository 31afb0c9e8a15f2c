// Somebody who works with the real svn over the real Apache.
#pragma once

#include "tests/load/worker.h"
#include "tests/support/real_server.h"

namespace kelvarion::load {

class SvnUser final : public Worker {
 public:
  // An account that may write the whole repository, whose password is its name. Working copies
  // come to lie in `folder`, which exists and is this one's own.
  SvnUser(const testing::RealServer& server, std::string account, std::string repository,
          std::string folder, unsigned seed);

  void Step() override;
  void CleanUp() override {}
  const Tally& tally() override { return tally_; }

 private:
  void CheckOut();
  void Commit();
  // Its output; unexpected when it fails.
  std::string Svn(const char* what, std::vector<std::string> arguments);

  const testing::RealServer& server_;
  const std::string account_;
  const std::string url_;
  const std::string copy_;
  int commits_ = 0;
  Tally tally_;
};

}  // namespace kelvarion::load
