// Kelvarion_Activity: cancels running methods by the id that their client gave them.
#pragma once

#include "provider/activity_registry.h"
#include "provider/class_handler.h"

namespace kelvarion {

// Activities cannot be listed or read; the class serves the method Cancel alone and needs no class
// object of its own.
class ActivityClassHandler final : public IAbstractClassHandler {
 public:
  explicit ActivityClassHandler(ActivityRegistry& registry) : registry_(registry) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT PutInstance(const WMIObject& instance) override;
  HRESULT DeleteInstance(ParsedObjectPath& path) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT ExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                     const WMIObject& in_params, ResponseSink& sink,
                     const IcCancelCallback* cancel) override;
  const std::u16string& GetClassName() const override;
  std::vector<std::u16string> MethodNames() const override { return {u"Cancel"}; }

 private:
  ActivityRegistry& registry_;
};

}  // namespace kelvarion
