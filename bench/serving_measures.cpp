// What clients of the web server notice: the same export from ours and from a stock Apache that
// holds the same number of path rules.
#include <filesystem>
#include <stdexcept>

#include "bench/access_files.h"
#include "bench/history.h"
#include "bench/measures.h"
#include "tests/support/account_rules_server.h"
#include "tests/support/dav_server.h"

namespace kelvarion::bench {
namespace {

using testing::RealServer;

constexpr const char* kUser = "alice";

int Revisions() { return Quick() ? 10 : 80; }

void MakeRepository(const RealServer& server) {
  const std::string dump = server.folder + "/dump";
  WriteHistory(dump, Revisions());
  Run(server.Command({"repository", "import", dump, "history"}));
}

// With one rule more, for everybody.
void WriteOpenRules(const std::string& path, Accounts accounts) {
  WriteRules(path, accounts);
  std::string text = testing::ReadText(path);
  testing::WriteText(path, text.insert(text.find('\n') + 1, "*=rw\r\n"));
}

testing::DavOptions StockOptions(const std::string& folder) {
  const testing::DavOptions options{
      .users = folder + "/users", .rules = folder + "/rules", .groups = folder + "/groups"};
  Run({"htpasswd", "-cb", options.users, kUser, kUser});
  WriteOpenRules(options.rules, Accounts::kSubversion);
  WriteGroups(options.groups);
  return options;
}

void MeasureExport(const char* whose, const RealServer& server, std::vector<Row>& rows) {
  const std::string folder = server.folder + "/stock";
  std::filesystem::create_directory(folder);
  const testing::DavServer stock(folder, server.root, StockOptions(folder));
  server.Start();
  const auto exported = [&](const std::string& url) {
    if (server.Svn(kUser, kUser, {"export", "-q", "--force", url, server.folder + "/exported"})
            .exit_code != 0)
      throw std::runtime_error("the export of " + url + " fails");
  };
  rows.push_back({.name = "svn export, 10,000 rules for " + std::string(whose),
                  .against = "stock Apache with as many",
                  .amounts = MedianPair(
                      Quick() ? 3 : 7, [&] { exported(server.Url("history/trunk")); },
                      [&] { exported(stock.url() + "/history/trunk"); }),
                  .aim = 1.1,
                  .judged = !Quick()});
  server.Stop();
}

}  // namespace

void MeasureServing(std::vector<Row>& rows) {
  {
    const RealServer server;
    MakeRepository(server);
    WriteOpenRules(server.RulesFile("history"), Accounts::kSubversion);
    WriteGroups(server.root + "/groups.conf");
    server.CreateUser(kUser, kUser);
    MeasureExport("Subversion's accounts", server, rows);
  }
  const testing::AccountRulesServer accounts({{kUser, {"S-1-22-1-4711", "S-1-22-2-77"}}});
  MakeRepository(accounts.server);
  WriteOpenRules(accounts.RulesFile("history"), Accounts::kMachine);
  MeasureExport("accounts of the machine", accounts.server, rows);
}

}  // namespace kelvarion::bench
