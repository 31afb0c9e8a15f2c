// Dump files, compressed or not, as they are loaded into a repository.
#include <svn_io.h>
#include <svn_repos.h>
#include <svn_string.h>

#include <filesystem>
#include <optional>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "svn/dump_input_stream.h"
#include "svn/dump_reader.h"
#include "svn/error.h"
#include "svn/gzip_read_stream.h"
#include "svn/repository.h"

using namespace kelvarion;

// What the libraries keep in their pools the detector takes for lost.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return 1; }

namespace {

// Takes what the inputs load; made anew when it has grown.
class Repository {
 public:
  svn_repos_t* get() {
    if (uses_++ % 200 != 0) return repository_;
    repository_ = nullptr;
    pool_.Clear();
    std::filesystem::remove_all(folder_.native() + "/r");
    repository_ =
        svn::CreateRepository(folder_.path() + u"/r", pool_, nullptr, svn::Flushing::kByCaller);
    return repository_;
  }

 private:
  testing::TemporaryFolder folder_;
  svn::Pool pool_ = svn::Pool::Root();
  svn_repos_t* repository_ = nullptr;
  int uses_ = 0;
};

svn_stream_t* Source(std::string_view bytes, const svn::Pool& pool) {
  svn_stream_t* const stream =
      svn_stream_from_string(svn_string_ncreate(bytes.data(), bytes.size(), pool), pool);
  constexpr const auto& kMagic = svn::GzipReadStream::kMagic;
  const bool compressed = bytes.size() > 1 && static_cast<std::uint8_t>(bytes[0]) == kMagic[0] &&
                          static_cast<std::uint8_t>(bytes[1]) == kMagic[1];
  return compressed ? svn::GzipReadStream::Wrap(stream, pool) : stream;
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static Repository& repository = *new Repository;
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  svn::DumpReader reader{};
  svn::Check(svn_repos_get_fs_build_parser6(&reader.calls, &reader.baton, repository.get(),
                                            SVN_INVALID_REVNUM, SVN_INVALID_REVNUM, TRUE, FALSE,
                                            svn_repos_load_uuid_ignore, nullptr, FALSE, FALSE,
                                            FALSE, FALSE, nullptr, nullptr, pool));
  reader = svn::Guarded(reader, pool);
  svn_stream_t* const dump = svn::DumpInputStream::Wrap(Source(bytes, pool), pool);
  try {
    svn::Check(svn_repos_parse_dumpstream3(dump, reader.calls, reader.baton, FALSE, nullptr,
                                           nullptr, pool));
  } catch (const Exception& refusal) {
    fuzz::Expect(!refusal.Message().empty(), "a refusal says why");
  }
}
