#include "ormu/service/socket_server.h"

#include <svn_error_codes.h>

#include <filesystem>
#include <thread>

#include "ormu/boundary.h"
#include "platform/files/files.h"
#include "platform/network/local_socket.h"
#include "platform/ormu/ormu.h"
#include "platform/security/security.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;

constexpr int kMostRunning = 64;
constexpr std::size_t kShownOfRequest = 500;
constexpr int kSendTimeout = 10'000;
constexpr std::chrono::seconds kReceivePatience{10};

bool MayAsk(int client) {
  ClientToken token;
  return platform::PeerToken(client, token) == ERROR_SUCCESS &&
         (token.user_sid == u"S-1-22-1-0" || token.user_sid == platform::CurrentUserSid());
}

std::string Line(const WireJson& json) {
  return json.dump(-1, ' ', false, WireJson::error_handler_t::replace) + "\n";
}

}  // namespace

SocketServer::SocketServer(const ServiceParts& parts, const Requests& requests)
    : parts_(parts), requests_(requests), path_(ServiceSocketPath(parts.home)) {
  const std::u16string shown = platform::PathFromNative(path_);
  if (const Win32Error error = platform::ListenLocal(path_, listener_))
    throw Win32Exception(error, u"Cannot listen on '%s'", shown);
  std::error_code error;
  fs::permissions(path_, fs::perms::owner_read | fs::perms::owner_write, error);
  if (error) throw SimpleException(u"Cannot protect '%s'", shown);
}

void SocketServer::Serve(std::chrono::milliseconds patience) {
  if (!platform::AwaitReadable(listener_.get(), static_cast<int>(patience.count()))) return;
  platform::Descriptor client;
  if (platform::AcceptLocal(listener_.get(), client) != ERROR_SUCCESS || !client) return;
  {
    const std::lock_guard lock(mutex_);
    if (running_ == kMostRunning) return;
    ++running_;
  }
  std::thread([this, socket = std::make_shared<platform::Descriptor>(std::move(client))] {
    ServeClient(*socket);
    const std::lock_guard lock(mutex_);
    --running_;
    changed_.notify_all();
  }).detach();
}

void SocketServer::ServeClient(const platform::Descriptor& client) const {
  std::string line;
  if (!MayAsk(client.get()) || !ReceiveLine(client.get(), line, kReceivePatience)) return;
  platform::SendAll(client.get(), Answer(client.get(), line), kSendTimeout);
}

std::string SocketServer::Answer(int client, const std::string& line) const {
  const svn::Cancellation cancellation{
      [&] { return parts_.stopping || platform::HasStoppedSending(client); },
      u"The replication service has been told to stop, or nobody waits for the answer."};
  WireJson answer;
  svn_error_t* const error = AtBoundary([&] {
    const WireJson request = WireJson::parse(line);
    answer = {{"result", requests_.Answer(request, cancellation)}};
    const std::string name = request.at("request").get<std::string>();
    if (name != "status") parts_.log.Note("did " + name + " " + request.value("name", ""));
  });
  if (!error) return Line(answer);
  const SvnException failure(error);
  parts_.log.Note("refused " + line.substr(0, kShownOfRequest) + ": " +
                  platform::Utf8ForDisplay(failure.FullText()));
  return Line({{"error", ChainToJson(error)}});
}

bool SocketServer::Stop(std::chrono::milliseconds patience) {
  std::error_code ignored;
  fs::remove(path_, ignored);
  listener_ = platform::Descriptor();
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, patience, [this] { return running_ == 0; });
}

}  // namespace kelvarion::ormu
