#include "access/effective/server_reader.h"

#include "access/authz_files.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "services/server_service.h"

namespace kelvarion::access {

ServerReader::ServerReader(const ServerContext& context) {
  constexpr std::uint8_t kUse = 7;
  platform::ServiceConfig config;
  if (context.machine().services->QueryConfig(services::kServerServiceName, config) !=
      ERROR_SUCCESS)
    return;
  account_ = config.start_name;
  access_ = platform::AccountAccess::Of(account_);
  if (access_ && !access_->Obstacle(platform::NativePath(RepositoriesRoot(context)), kUse).empty())
    access_.reset();
}

std::optional<AuthzProblem> ServerReader::WhyUnreadable(const std::u16string& file) {
  constexpr std::uint8_t kRead = 4;
  if (!access_) return std::nullopt;
  const std::string native = platform::NativePath(file);
  const std::string obstacle = access_->Obstacle(native, kRead);
  if (obstacle.empty()) return std::nullopt;
  AuthzProblem problem;
  problem.text = obstacle == native ? Format(u"its account '%s' may not read it", account_)
                                    : Format(u"its account '%s' may not enter %s", account_,
                                             platform::Utf16ForDisplay(obstacle));
  return problem;
}

}  // namespace kelvarion::access
