// The socket on which the service takes requests.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

#include "ormu/service/requests.h"
#include "platform/files/descriptor.h"

namespace kelvarion::ormu {

// Only processes of the service's own account, and root's, are answered.
class SocketServer {
 public:
  // Connections are taken from now on. Throws Win32Exception.
  SocketServer(const ServiceParts& parts, const Requests& requests);

  // Takes what connected within the time; each connection is then served on a thread of its own.
  void Serve(std::chrono::milliseconds patience);
  // The socket goes. False when a request did not end within the time; nothing may be destroyed
  // then.
  bool Stop(std::chrono::milliseconds patience);

 private:
  void ServeClient(const platform::Descriptor& client) const;
  std::string Answer(int client, const std::string& line) const;

  const ServiceParts& parts_;
  const Requests& requests_;
  const std::string path_;
  platform::Descriptor listener_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int running_ = 0;
};

}  // namespace kelvarion::ormu
