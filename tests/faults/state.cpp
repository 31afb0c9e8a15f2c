#include "tests/faults/state.h"

#include <apr_md5.h>
#include <sqlite3.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cctype>
#include <filesystem>
#include <sstream>

#include "platform/crypto/certificate.h"
#include "platform/text/encoding.h"
#include "tests/faults/changes.h"
#include "tests/support/real_server.h"

namespace kelvarion::testing {
namespace {

namespace fs = std::filesystem;

bool EndsWith(const std::string& path, std::initializer_list<const char*> ends) {
  return std::any_of(ends.begin(), ends.end(),
                     [&](const char* end) { return path.ends_with(end); });
}

bool Holds(const std::string& path, std::initializer_list<const char*> parts) {
  return std::any_of(parts.begin(), parts.end(),
                     [&](const char* part) { return path.find(part) != std::string::npos; });
}

// Not state, whatever is in them.
bool IsIgnored(const std::string& path) {
  // What the libraries leave of an atomic write or of a commit.
  if (path.find("/svn-") != path.npos || path.find("/db/transactions/") != path.npos) return true;
  return path.starts_with("svn/") || EndsWith(path, {".lck", ".conf.lock", "groups.lock"}) ||
         Holds(path, {"/server/logs/", "/server/run/", "/events", "/locks/", "/registry.db",
                      "/groups.db", "/db/revs/", "/db/revprops/", "/db/txn", "/db/rep-cache",
                      "/db/uuid", "/db/min-unpacked", "/db/write-lock.kept",
                      // How far a slave is.
                      "/copy/db/current"});
}

// Who may use it, by mode, owner and access lists.
std::string AccessTo(const std::string& path) {
  struct stat status {};
  lstat(path.c_str(), &status);
  std::ostringstream text;
  // The libraries do without the bit where it cannot be set.
  text << std::oct << (status.st_mode & ~S_ISGID) << std::dec << ' ' << status.st_uid << ':'
       << status.st_gid;
  for (const char* name : {"system.posix_acl_access", "system.posix_acl_default"}) {
    unsigned char list[4096];
    const ssize_t size = lgetxattr(path.c_str(), name, list, sizeof list);
    // Behind a head of 4 bytes 8 for each entry: its kind, its rights, for whom.
    int most = 7;
    for (ssize_t i = 4; i < size; i += 8)
      if (list[i] == ACL_MASK) most = list[i + 2];
    for (ssize_t i = 4; i < size; ++i) {
      const bool is_limited = i % 8 == 6 && list[i - 2] != ACL_USER_OBJ && list[i - 2] != ACL_OTHER;
      text << ' ' << (is_limited ? list[i] & most : list[i]);
    }
  }
  return text.str();
}

// Groups of the machine have other numbers in each home.
std::string WithoutNumbers(std::string text) {
  constexpr std::string_view kLocal = "S-1-5-21-";
  for (std::size_t at = 0; (at = text.find(kLocal, at)) != text.npos;) {
    at += kLocal.size();
    for (int number = 0; number < 3; ++number) {
      while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])))
        text.erase(at, 1);
      if (number < 2 && at < text.size() && text[at] == '-') text.erase(at, 1);
    }
  }
  return text;
}

std::string Passwords(const std::string& file) {
  std::istringstream lines(file);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(':');
    const std::string hash = line.substr(colon + 1, line.find('\r') - colon - 1);
    text += line.substr(0, colon);
    for (const char* password : kPasswords)
      if (apr_password_validate(password, hash.c_str()) == APR_SUCCESS)
        text += std::string(" ") + password;
    text += '\n';
  }
  return text;
}

std::string Subject(const std::string& pem) {
  std::vector<platform::Certificate> certificates;
  const platform::KeyReading reading = platform::ReadPrivateKey(pem);
  platform::CertificateDescription description;
  if (platform::ReadCertificates(pem, certificates) || !reading.key ||
      platform::DescribeCertificate(certificates.front(), description))
    return "damaged";
  return platform::Utf8ForDisplay(description.subject.common_name) +
         (platform::BelongTogether(certificates.front(), reading.key) ? "" : " without its key");
}

std::string Meaning(const std::string& path) {
  if (fs::is_symlink(path)) return fs::read_symlink(path);
  const std::string text = ReadText(path);
  if (path.ends_with("/htpasswd")) return Passwords(text);
  if (path.ends_with("/certs/server.pem")) return Subject(text);
  return WithoutNumbers(text);
}

void TakeRows(const std::string& file, const char* query, State& state) {
  if (!fs::exists(file)) return;
  sqlite3* database = nullptr;
  sqlite3_open(file.c_str(), &database);
  const auto row = [](void* all, int count, char** values, char**) {
    std::string name, value;
    for (int i = 0; i < count; ++i)
      (i + 1 < count ? name : value) += values[i] ? std::string(values[i]) + "/" : "";
    (*static_cast<State*>(all))[name] = WithoutNumbers(value);
    return 0;
  };
  sqlite3_exec(database, query, row, &state, nullptr);
  sqlite3_close(database);
}

}  // namespace

State TakeState(const std::string& folder) {
  State state;
  // What vanishes meanwhile ends this; who waits for a state takes another.
  std::error_code vanished;
  for (fs::recursive_directory_iterator entry(folder), end; !vanished && entry != end;
       entry.increment(vanished)) {
    const std::string path = "/" + entry->path().lexically_relative(folder).string() +
                             (entry->is_directory() && !entry->is_symlink() ? "/" : "");
    if (IsIgnored(path)) continue;
    // The libraries make this file writable for a moment.
    const std::string access = path.ends_with("/format") ? "" : AccessTo(entry->path());
    state[path] = access + "\n" + (path.ends_with('/') ? "" : Meaning(entry->path()));
  }
  TakeRows(folder + "/home/registry.db",
           "SELECT 'registry', key, name, iif(name LIKE '%SID', 'a group', type || hex(data)) FROM "
           "entries",
           state);
  TakeRows(folder + "/home/groups.db", "SELECT 'groups', name, id FROM groups", state);
  TakeRows(
      folder + "/home/groups.db",
      "SELECT 'members', name, group_concat(sid) FROM groups JOIN members USING (id) GROUP BY name",
      state);
  TakeRows(folder + "/home/groups.db", "SELECT 'folders', path, '' FROM folders", state);
  return state;
}

State WithoutLeftovers(State state) {
  std::erase_if(state, [](const auto& entry) {
    return EndsWith(entry.first, {".tmp", ".tmp/", ".new", ".kelvarion-lock", "/certs/server.lock",
                                  "/Kelvarion-Deletions.txt"}) ||
           Holds(entry.first, {"/.kelvarion/", ".kelvarion-partial/"});
  });
  return state;
}

bool LiesBetween(const State& before, const State& state, const State& after) {
  constexpr std::size_t kEnd = 100;
  State all = before;
  all.insert(after.begin(), after.end());
  all.insert(state.begin(), state.end());
  const auto in = [](const State& from, const std::string& key) {
    const auto found = from.find(key);
    return found == from.end() ? std::string("missing") : found->second;
  };
  return std::all_of(all.begin(), all.end(), [&](const auto& entry) {
    const std::string old = in(before, entry.first), now = in(state, entry.first);
    // A new folder gets its access after it was made; what is generated from several settings may
    // stand between them.
    return now == old || now == in(after, entry.first) ||
           (old == "missing" && entry.first.ends_with('/') && after.contains(entry.first)) ||
           (entry.first.ends_with("/httpd.conf") && old.size() > kEnd &&
            now.ends_with(old.substr(old.size() - kEnd)));
  });
}

std::string Differences(const State& left, const State& right) {
  std::string text;
  for (const auto& [path, content] : left)
    if (const auto found = right.find(path); found == right.end())
      text += "  " + path + " only before\n";
    else if (found->second != content)
      text += "  " + path + " differs: " + content.substr(0, 300) + "\n    and " +
              found->second.substr(0, 300) + "\n";
  for (const auto& [path, content] : right)
    if (!left.contains(path)) text += "  " + path + " only after\n";
  return text;
}

}  // namespace kelvarion::testing
