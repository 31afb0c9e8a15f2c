#include <iostream>
#include <optional>
#include <sstream>

#include "platform/text/encoding.h"
#include "repos/verify_lines.h"
#include "repos/verify_workers.h"
#include "svn/error.h"
#include "svn/pool.h"

namespace kelvarion::repos {
namespace {

class Answer final : public IcVerifyRepositoryNotify {
 public:
  void MetadataStarted() override {
    if (about_metadata) Say(kMetadata);
  }
  void MetadataVerified(std::int64_t revision) override {
    if (about_metadata) Say(kStructure, std::to_string(revision));
  }
  void RevisionVerified(std::int64_t revision, std::int64_t, std::int64_t) override {
    Say(kRevision, std::to_string(revision));
  }
  void Warning(const std::u16string& text) override {
    Say(kWarning, Escaped(platform::Utf8ForDisplay(text)));
  }
  void Say(const char* word, const std::string& rest = "") {
    std::cout << word << ' ' << rest << std::endl;
    // Nobody listens any more.
    if (!std::cout) throw SimpleException(u"The verification was given up.");
  }

  bool about_metadata = false;
};

}  // namespace

int VerifierMain(const std::string& folder) {
  svn::Initialize(svn::Threads::kOne);
  const svn::Pool pool = svn::Pool::Root();
  Answer answer;
  LongOperation operation(nullptr, u"");
  std::optional<RangeVerifier> verifier;
  for (std::string line; std::getline(std::cin, line);) {
    std::string word;
    RevisionRange range;
    if (!(std::istringstream(line) >> word >> range.first >> range.last)) return 2;
    answer.about_metadata = word == kMetadata;
    try {
      if (!verifier) verifier.emplace(platform::Utf16ForDisplay(folder), &answer, operation, pool);
      verifier->Verify(range, answer.about_metadata ? Checks::kMetadataOnly : Checks::kAll);
      answer.Say(kSound);
    } catch (const SvnException& fault) {
      answer.Say(kFault, Escaped(platform::Utf8ForDisplay(fault.FullText())));
    }
  }
  return 0;
}

}  // namespace kelvarion::repos
