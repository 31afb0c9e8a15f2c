// Every method of every class, and the other four kinds of request, with arguments of all sorts.
//
// An input is a few requests, one a line (request_lines.h), to the provider of a small home
// (small_home.h) that is as new before each input. Inputs are made from the schema
// (request_maker.h), so methods that are added to it are asked too. FUZZ_CLASS=NAME restricts them
// to the requests about one class.
//
// Whatever is asked, there is one answer, with one of the system's statuses, an error object if and
// only if it failed, and objects that can be sent to a client; and nothing outside the home is
// changed (confinement.h) but what the request itself names by an absolute path, which is then
// found to be on a disk that can only be read. No network is reached and no program started.
#include "errors/exception.h"
#include "fuzz/confinement.h"
#include "fuzz/fuzz.h"
#include "fuzz/request_maker.h"
#include "fuzz/small_home.h"
#include "host/value_output.h"

using namespace kelvarion;
using namespace kelvarion::fuzz;

namespace {

const std::set<HRESULT> kStatuses(
    {S_OK, S_FALSE, WBEM_E_FAILED, WBEM_E_NOT_FOUND, WBEM_E_INVALID_PARAMETER, WBEM_E_NOT_SUPPORTED,
     WBEM_E_INVALID_CLASS, WBEM_E_TRANSPORT_FAILURE, WBEM_E_ALREADY_EXISTS, WBEM_E_INVALID_METHOD,
     WBEM_E_INVALID_METHOD_PARAMETERS, WBEM_E_CALL_CANCELLED, WBEM_E_INVALID_OBJECT_PATH,
     WBEM_E_CIRCULAR_REFERENCE, HresultFromWin32(ERROR_ALREADY_EXISTS)});
constexpr std::size_t kMostRequests = 6;

// Where the fuzzer puts inputs that it found, also while a request runs.
std::vector<std::string>& ArtifactFolders() {
  static std::vector<std::string> folders;
  return folders;
}

SmallHome& Home() {
  static SmallHome home;
  static const bool confined = [] {
    std::vector<std::string> free = home.own_folders();
    free.insert(free.end(), ArtifactFolders().begin(), ArtifactFolders().end());
    Confine({free, {}});
    return true;
  }();
  Expect(confined, "nothing but the home can be changed");
  return home;
}

const RequestMaker& Maker() {
  static const char* const only = std::getenv("FUZZ_CLASS");
  static const RequestMaker maker(Home().host(), Home().places(),
                                  only ? platform::Utf16ForDisplay(only) : u"");
  return maker;
}

void CheckAnswer(const testing::Answer& answer) {
  Expect(answer.returned == S_OK && answer.completions == 1, "there is one answer");
  Expect(kStatuses.contains(answer.status), "the status is one of the system's");
  Expect(Failed(answer.status) == bool(answer.error), "who fails, and only who fails, says why");
  if (answer.error) {
    const auto code = answer.error.Get(Property<std::uint32_t>{u"StatusCode"});
    Expect(code == static_cast<std::uint32_t>(answer.status), "the error has the status");
    Expect(!answer.Message().empty(), "the error has a text");
    host::ObjectToJson(*answer.error.object()).dump();
  }
  for (const WMIObject& object : answer.objects) host::ObjectToJson(*object.object()).dump();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
  constexpr std::string_view kFlag = "-artifact_prefix=";
  for (int i = 1; i < *count; ++i) {
    const std::string argument = (*arguments)[i];
    if (argument.starts_with(kFlag))
      ArtifactFolders().push_back(
          std::filesystem::weakly_canonical(argument.substr(kFlag.size())).parent_path());
  }
  Home();  // It is no input's time.
  return 0;
}

void kelvarion::fuzz::Target(std::string_view bytes) {
  const auto requests = ReadLines(bytes);
  if (!requests || requests->size() > kMostRequests) return;
  SmallHome& home = Home();
  std::vector<std::string> named{home.linked_repository()};
  for (const Json& request : *requests) {
    for (std::string& folder : home.requester().NamedFolders(request))
      named.push_back(std::move(folder));
    MakeReadOnly(named);
    std::optional<testing::Answer> answer;
    {
      const Watch watch;
      answer = home.requester().Make(request);
    }
    if (answer) CheckAnswer(*answer);
  }
  home.Reset();
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
  Random random(seed);
  std::vector<Json> requests = ReadLines(Bytes(data, size)).value_or(std::vector<Json>{});
  if (requests.empty() || (requests.size() < kMostRequests && random.OneIn(4)))
    requests.insert(requests.begin() + std::ptrdiff_t(random.Below(requests.size() + 1)),
                    Maker().Make(random));
  else if (requests.size() > 1 && random.OneIn(6))
    requests.erase(requests.begin() + std::ptrdiff_t(random.Below(requests.size())));
  else
    for (std::size_t i = 1 + random.Below(3); i > 0; --i)
      Maker().Change(requests[random.Below(requests.size())], random);
  std::string made = WriteLines(requests);
  if (made.size() > max_size) made = WriteLines({Maker().Make(random)});
  if (made.size() > max_size) return 0;
  std::ranges::copy(made, data);
  return made.size();
}
