#include "host/home_layout.h"

#include <filesystem>
#include <sstream>
#include <system_error>
#include <vector>

#include "errors/exception.h"
#include "host/text.h"
#include "platform/process/process.h"
#include "util/atomic_file.h"

namespace kelvarion::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDebianModules = "/usr/lib/apache2/modules/";

struct Entry {
  std::string action;
  fs::perms mode{};
  std::string target;
  std::string source;
};

std::vector<Entry> ReadLayout(const std::string& server_folder) {
  std::istringstream lines(util::ReadWholeFile(Utf16(server_folder + "/layout.txt")));
  std::vector<Entry> entries;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    std::istringstream words(line);
    Entry entry;
    unsigned mode = 0;
    words >> entry.action >> std::oct >> mode >> entry.target >> entry.source;
    entry.mode = static_cast<fs::perms>(mode);
    entries.push_back(std::move(entry));
  }
  return entries;
}

// Replaces every occurrence.
void Fill(std::string& text, const std::string& placeholder, const std::string& value) {
  for (std::size_t at = text.find(placeholder); at != std::string::npos;
       at = text.find(placeholder, at + value.size()))
    text.replace(at, placeholder.size(), value);
}

[[noreturn]] void Fail(const std::string& path, const std::error_code& error) {
  throw SimpleException(u"Cannot make '%s': %s", Utf16(path), Utf16(error.message()));
}

// What is new gets its name when it is as it has to be: who makes it may be killed at any time.
void Publish(const std::string& temporary, const std::string& path, fs::perms mode) {
  std::error_code error;
  fs::permissions(temporary, mode, error);
  if (!error && temporary != path) fs::rename(temporary, path, error);
  if (error) Fail(path, error);
}

// False when the folder existed already, with whatever mode.
bool MakeFolder(const std::string& path, fs::perms mode) {
  std::error_code error;
  if (fs::is_directory(path, error)) return false;
  const std::string temporary = path + ".tmp";
  fs::create_directory(temporary, error);
  if (error) Fail(path, error);
  Publish(temporary, path, mode);
  return true;
}

// False when the link led there already.
bool MakeLink(const std::string& path, const std::string& target) {
  std::error_code error;
  if (!fs::exists(target, error))
    throw SimpleException(u"'%s', which the web server needs, is missing.", Utf16(target));
  if (fs::read_symlink(path, error) == target) return false;
  const std::string temporary = path + ".tmp";
  fs::remove(temporary, error);
  fs::create_symlink(target, temporary, error);
  if (!error) fs::rename(temporary, path, error);
  if (error) Fail(path, error);
  return true;
}

// False when the file had that content already.
bool MakeFile(const std::string& path, const std::string& content, fs::perms mode) {
  std::error_code error;
  const std::u16string name = Utf16(path);
  const bool exists = fs::exists(path, error);
  if (error) Fail(path, error);
  if (exists && util::ReadWholeFile(name) == content) return false;
  const std::string temporary = exists ? path : path + ".new";
  util::WriteFileAtomically(Utf16(temporary), content, util::NewFile::kPrivate);
  Publish(temporary, path, mode);
  return true;
}

// Comments, which explain the placeholders, stay as they are.
std::string FilledIn(const std::string& text, const std::string& folder) {
  std::istringstream lines(text);
  std::string filled;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with('#')) {
      Fill(line, "@INSTALL_DIR@", folder);
      Fill(line, "@USER_GROUP@", platform::RunsAsRoot() ? "User www-data\nGroup www-data" : "");
    }
    filled += line + "\n";
  }
  return filled;
}

bool Make(const Entry& entry, const ProgramPaths& paths, const std::string& folder) {
  const std::string target = folder + "/" + entry.target;
  std::error_code ignored;
  if (entry.action == "dir") return MakeFolder(target, entry.mode);
  if (entry.action == "apache") return MakeLink(target, kDebianModules + entry.source);
  if (entry.action == "module") return MakeLink(target, paths.httpd_modules + "/" + entry.source);
  if (entry.action == "program") return MakeLink(target, paths.programs + "/" + entry.source);
  if (entry.action == "keep" && fs::exists(target, ignored)) return false;
  std::string content = util::ReadWholeFile(Utf16(paths.server + "/" + entry.source));
  if (entry.action == "fill") content = FilledIn(content, folder);
  return MakeFile(target, content, entry.mode);
}

}  // namespace

void CheckServablePath(const std::string& path) {
  bool servable =
      path.find_first_of("\"\\") == std::string::npos && path.find("${") == std::string::npos;
  for (const char c : path) servable = servable && static_cast<unsigned char>(c) >= ' ';
  std::u16string text;
  if (!servable || !platform::Utf8ToUtf16(path, text)) {
    throw SimpleException(
        u"The web server cannot serve from '%s': its path holds a quotation mark, a backslash, "
        u"\"${\" or something that is no text.",
        Utf16(path));
  }
}

int LayOutInstallFolder(const ProgramPaths& paths, const std::string& folder) {
  int made = MakeFolder(folder, static_cast<fs::perms>(0711)) ? 1 : 0;
  for (const Entry& entry : ReadLayout(paths.server)) made += Make(entry, paths, folder) ? 1 : 0;
  return made;
}

}  // namespace kelvarion::host
