// What the service tells people: a log file of everything it does, and the event log of what
// somebody should look at.
#pragma once

#include <fstream>
#include <mutex>
#include <string>

#include "platform/event_log/event_log.h"
#include "platform/event_log/report_limit.h"

namespace kelvarion::ormu {

// Texts are UTF-8. Nothing throws; what cannot be written is lost. Safe from any thread.
class ServiceLog {
 public:
  // `file` is started anew when it has grown large; what it held is kept under a second name.
  ServiceLog(std::string file, platform::EventLog& events);

  void Note(const std::string& text);
  // Also in the event log: a slave that stopped following its master, and that follows again. Who
  // calls tells about changes, not about each try; beyond some a minute they are only counted.
  void ReportFailure(const std::string& slave, const std::string& reason);
  void ReportRecovery(const std::string& slave);

 private:
  void Open();
  void Report(platform::EventType type, std::uint32_t id, std::vector<std::u16string> strings);

  const std::string path_;
  platform::EventLog& events_;
  std::mutex mutex_;
  std::ofstream file_;
  platform::ReportLimit limit_;
};

}  // namespace kelvarion::ormu
