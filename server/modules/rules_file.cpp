#include "rules_file.h"

#include <svn_config.h>
#include <svn_error.h>
#include <svn_io.h>
#include <svn_pools.h>
#include <svn_string.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <tuple>

#include "svn/config_text.h"

namespace kelvarion::httpd {
namespace {

// Differs whenever the file does. Changed permissions count too: what could not be read may be
// readable now.
struct Stamp {
  int error = 0;  // Of stat; without one the rest holds.
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  std::tuple<time_t, long, time_t, long> times;  // Of the contents, of everything; nanoseconds.
  friend bool operator==(const Stamp&, const Stamp&) = default;
};

Stamp StampOf(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) return {errno, 0, 0, 0, {}};
  return {
      0,
      found.st_dev,
      found.st_ino,
      found.st_size,
      {found.st_mtim.tv_sec, found.st_mtim.tv_nsec, found.st_ctim.tv_sec, found.st_ctim.tv_nsec}};
}

// What lies where a folder is needed is no folder with a rules file.
bool IsMissing(const Stamp& stamp) { return stamp.error == ENOENT || stamp.error == ENOTDIR; }

bool IsPath(std::string_view section) { return section.starts_with('/'); }

std::string MessageOf(svn_error_t* error) {
  std::string text;
  for (const svn_error_t* each = error; each; each = each->child) {
    char buffer[512];
    if (!text.empty()) text += ": ";
    text += svn_err_best_message(each, buffer, sizeof buffer);
  }
  svn_error_clear(error);
  return text;
}

struct Reading {
  RulesFile& file;
  const svn_config_t* config;
  const char* section = nullptr;
  std::exception_ptr failure = nullptr;

  // For the callbacks of the library, which exceptions must not pass through. False ends them.
  template <class Body>
  svn_boolean_t Run(const Body& body) {
    try {
      body();
    } catch (...) {
      failure = std::current_exception();
    }
    return !failure && file.problem.empty();
  }
};

svn_boolean_t AddRule(const char* key, const char* value, void* baton, apr_pool_t*) {
  Reading& reading = *static_cast<Reading*>(baton);
  return reading.Run([&] {
    reading.file.rules.Add(reading.section, key, value);
    if (reading.file.remark.empty() && !rules::IsSid(key) && std::strcmp(key, "*") != 0)
      reading.file.remark = std::string("'") + key + "' in [" + reading.section +
                            "] is neither a SID nor *, and stands for nobody";
  });
}

svn_boolean_t AddSection(const char* name, void* baton, apr_pool_t* pool) {
  Reading& reading = *static_cast<Reading*>(baton);
  return reading.Run([&] {
    if (IsPath(name) && !rules::IsCanonicalPath(name)) {
      reading.file.problem = std::string("the path [") + name + "] is not canonical";
      return;
    }
    reading.section = name;
    // The library takes what it only reads as if it might change it.
    svn_config_enumerate2(const_cast<svn_config_t*>(reading.config), name, AddRule, baton, pool);
  });
}

void Parse(const std::string& path, RulesFile& file, apr_pool_t* pool) {
  svn_stringbuf_t* text = nullptr;
  if (svn_error_t* const error = svn_stringbuf_from_file2(&text, path.c_str(), pool)) {
    file.problem = MessageOf(error);
    return;
  }
  if (const auto line = svn::FindMisleadingLine({text->data, text->len})) {
    file.problem = "line " + std::to_string(line->number) + ": " + line->problem;
    return;
  }
  svn_config_t* config = nullptr;
  svn_stream_t* const stream = svn_stream_from_stringbuf(text, pool);
  if (svn_error_t* const error = svn_config_parse(&config, stream, TRUE, TRUE, pool)) {
    file.problem = MessageOf(error);
    return;
  }
  Reading reading{file, config};
  svn_config_enumerate_sections2(config, AddSection, &reading, pool);
  if (reading.failure) std::rethrow_exception(reading.failure);
}

struct DestroyPool {
  void operator()(apr_pool_t* pool) const { svn_pool_destroy(pool); }
};

std::shared_ptr<const RulesFile> Read(const std::string& path) {
  auto file = std::make_shared<RulesFile>();
  const std::unique_ptr<apr_pool_t, DestroyPool> pool(svn_pool_create(nullptr));
  Parse(path, *file, pool.get());
  return file;
}

std::shared_ptr<const RulesFile> Unusable(int error) {
  auto file = std::make_shared<RulesFile>();
  file->problem = std::strerror(error);
  return file;
}

// The last state of one file.
class Entry {
 public:
  std::shared_ptr<const RulesFile> At(const std::string& path, const Stamp& stamp) {
    const std::lock_guard lock(mutex_);
    if (!file_ || stamp != stamp_) {
      // Not the stamp of a moment after the reading: what changes while it is read is read again.
      file_ = Read(path);
      stamp_ = stamp;
    }
    return file_;
  }

 private:
  std::mutex mutex_;
  Stamp stamp_;
  std::shared_ptr<const RulesFile> file_;
};

class Entries {
 public:
  std::shared_ptr<Entry> For(const std::string& path) {
    const std::lock_guard lock(mutex_);
    std::shared_ptr<Entry>& entry = entries_[path];
    if (!entry) entry = std::make_shared<Entry>();
    return entry;
  }
  // Whoever makes up names of repositories must not fill the memory.
  void Forget(const std::string& path) {
    const std::lock_guard lock(mutex_);
    entries_.erase(path);
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Entry>> entries_;
};

// Never destroyed: workers may still serve when the process ends.
Entries& AllEntries() {
  static Entries& entries = *new Entries;
  return entries;
}

}  // namespace

std::shared_ptr<const RulesFile> ReadRulesFile(const std::string& path) {
  const Stamp stamp = StampOf(path);
  if (stamp.error != 0) {
    AllEntries().Forget(path);
    return IsMissing(stamp) ? nullptr : Unusable(stamp.error);
  }
  return AllEntries().For(path)->At(path, stamp);
}

}  // namespace kelvarion::httpd
