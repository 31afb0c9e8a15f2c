#include "tests/load/svn_user.h"

#include <chrono>
#include <filesystem>

namespace kelvarion::load {

namespace fs = std::filesystem;

SvnUser::SvnUser(const testing::RealServer& server, std::string account, std::string repository,
                 std::string folder, unsigned seed)
    : Worker(seed),
      server_(server),
      account_(std::move(account)),
      url_(server.Url(repository)),
      copy_(std::move(folder) + "/copy") {}

void SvnUser::Step() {
  if (!fs::exists(copy_) || Chance(10)) return CheckOut();
  switch (Below(4)) {
    case 0:
      return Commit();
    case 1:
      Svn("svn update", {"update", copy_});
      return;
    case 2:
      Svn("svn log", {"log", "-v", "-l", "20", url_});
      return;
    default:
      Svn("svn list", {"list", "-v", url_});
  }
}

void SvnUser::CheckOut() {
  fs::remove_all(copy_);
  Svn("svn checkout", {"checkout", url_, copy_});
}

// The log has to know of it at once.
void SvnUser::Commit() {
  const std::string message = account_ + ", number " + std::to_string(++commits_);
  const std::string file = copy_ + "/" + account_;
  const bool fresh = !fs::exists(file);
  testing::WriteText(file, message);
  if (fresh) Svn("svn add", {"add", file});
  Svn("svn commit", {"commit", "-m", message, copy_});
  if (Svn("svn log", {"log", "-r", "HEAD", url_ + "/" + account_}).find(message) ==
      std::string::npos)
    ++tally_.unexpected["a commit that the log does not know"];
}

std::string SvnUser::Svn(const char* what, std::vector<std::string> arguments) {
  const auto begin = std::chrono::steady_clock::now();
  const testing::ProcessResult result = server_.Svn(account_, account_, std::move(arguments));
  const std::chrono::duration<float, std::milli> time = std::chrono::steady_clock::now() - begin;
  tally_.milliseconds[what].push_back(time.count());
  if (result.exit_code != 0) ++tally_.unexpected[std::string(what) + ": " + result.err];
  return result.out;
}

}  // namespace kelvarion::load
