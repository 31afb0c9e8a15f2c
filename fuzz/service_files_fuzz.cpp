// What is read about services: each reader is given the same bytes.
#include <filesystem>

#include "fuzz/fuzz.h"
#include "platform/network/listening_ports.h"
#include "platform/services/failure_text.h"
#include "platform/services/listeners.h"
#include "platform/services/service_record.h"
#include "platform/services/service_state.h"
#include "platform/services/start_types.h"

using namespace kelvarion;
using namespace kelvarion::platform;

namespace {

const Service& MakeService(const std::string& folder) {
  Service& service = *new Service;
  service.name = "s";
  service.configuration = folder + "/httpd.conf";
  service.log = folder + "/error.log";
  service.run_folder = folder;
  return service;
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const testing::TemporaryFolder& folder = *new testing::TemporaryFolder;
  static const Service& service = MakeService(folder.native());
  for (const char* name :
       {"s.status", "s.err", "s.failure", "services.conf", "httpd.conf", "error.log", "table"})
    fuzz::WriteFile(folder.native() + "/" + name, bytes);

  ServiceRecord record;
  ServiceRecord again;
  fuzz::Expect(ReadRecord(service, record) == ERROR_SUCCESS, "any record can be read");
  WriteRecord(service, record);
  ReadRecord(service, again);
  fuzz::Expect(again == record, "a record survives being written");
  const std::uint32_t type = ReadStartType(folder.native(), service);
  WriteStartType(folder.native(), service, type);
  fuzz::Expect(ReadStartType(folder.native(), service) == type, "a start type survives, too");
  for (const ListenAddress& address : ReadListenAddresses(service.configuration))
    fuzz::Expect(address.port != 0, "nobody listens on port 0");
  std::vector<std::uint16_t> ports;
  fuzz::Expect(ReadTableOfListeners((folder.native() + "/table").c_str(), ports),
               "a table can be read");
  fuzz::Expect(!FailureText(service, 1, 0, bytes.size() / 2).empty(), "a failure has a text");
}
