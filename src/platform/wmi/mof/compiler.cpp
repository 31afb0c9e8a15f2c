#include "platform/wmi/mof/compiler.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "platform/files/files.h"
#include "platform/text/encoding.h"
#include "platform/wmi/mof/parser.h"

namespace kelvarion::platform::wmi::mof {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::string bytes;
  if (ReadWholeFile(PathFromNative(path.string()), bytes) != ERROR_SUCCESS)
    throw CompileError{path.string() + ": found no readable file, expected a schema file"};
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
  return bytes;
}

std::u16string Decode(const std::string& bytes, Location where) {
  std::u16string text;
  if (Utf8ToUtf16(bytes, text)) return text;
  for (std::size_t start = 0; start < bytes.size(); ++where.line) {
    const std::size_t end = std::min(bytes.find('\n', start), bytes.size());
    if (!Utf8ToUtf16(std::string_view(bytes).substr(start, end - start), text)) break;
    start = end + 1;
  }
  Fail(where, u"bytes that are no text", u"UTF-8");
}

// Compiles a file once, however often it is named.
class FileSet {
 public:
  explicit FileSet(Schema& schema) : schema_(schema) {}

  void Add(const fs::path& path) {
    if (!done_.insert(path.lexically_normal()).second) return;
    const Location start{std::make_shared<const std::string>(path.string()), 1};
    const std::size_t known = schema_.includes.size();
    Parse(Decode(ReadFile(path), start), start, schema_);
    const std::vector<Schema::Include> includes(
        schema_.includes.begin() + static_cast<std::ptrdiff_t>(known), schema_.includes.end());
    for (const Schema::Include& include : includes) {
      const fs::path included = path.parent_path() / Utf8ForDisplay(include.file);
      std::error_code error;
      if (!fs::is_regular_file(included, error))
        Fail(include.where, u"the name of no file, \"" + include.file + u'"', u"a schema file");
      Add(included);
    }
  }

 private:
  Schema& schema_;
  std::set<fs::path> done_;
};

std::vector<fs::path> SchemaFiles(const std::string& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error))
    if (entry->path().extension() == ".mof") files.push_back(entry->path());
  if (error)
    throw CompileError{folder + ": found a folder that cannot be read (" + error.message() +
                       "), expected schema files"};
  if (files.empty()) throw CompileError{folder + ": found no file *.mof, expected schema files"};
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

Classes CompileFolder(const std::string& folder) {
  Schema schema;
  FileSet files(schema);
  for (const fs::path& path : SchemaFiles(folder)) files.Add(path);
  return Link(schema);
}

}  // namespace kelvarion::platform::wmi::mof
