// What clients ask of the service. Each request runs on a thread of its own.
#pragma once

#include "ormu/service/followers.h"
#include "ormu/service_wire.h"
#include "svn/cancellation.h"

namespace kelvarion::ormu {

class Requests {
 public:
  Requests(const ServiceParts& parts, Followers& followers, std::function<std::u16string()> root)
      : parts_(parts), followers_(followers), root_(std::move(root)) {}

  // The result. Ends with SVN_ERR_CANCELLED when it is cancelled. Throws the exception family, and
  // WireJson::exception for a request that lacks something.
  WireJson Answer(const WireJson& request, const svn::Cancellation& cancellation) const;

 private:
  const ServiceParts& parts_;
  Followers& followers_;
  const std::function<std::u16string()> root_;
};

}  // namespace kelvarion::ormu
