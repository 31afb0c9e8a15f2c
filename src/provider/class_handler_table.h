// The handlers of all served classes and what they share.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "provider/class_handler.h"

namespace kelvarion {

class AccountClassSet;

// Built when the provider is initialised, from then on only read: lookups take no lock.
class ClassHandlerTable {
 public:
  // Makes the ServerContext and every handler. A class that the namespace does not have throws.
  ClassHandlerTable(const WMINamespace& name_space, IWbemContext* context,
                    IcRegistryAccessor& configuration, IcEventLogger& events,
                    platform::Machine& machine);
  ~ClassHandlerTable();
  ClassHandlerTable(const ClassHandlerTable&) = delete;
  ClassHandlerTable& operator=(const ClassHandlerTable&) = delete;

  // Both throw ComException WBEM_E_INVALID_CLASS "Unexpected class '%s'" when no handler serves the
  // class. Names compare ignoring case.
  IAbstractClassHandler& FindByName(const std::u16string& class_name) const;
  IAbstractClassHandler& FindByPath(const ParsedObjectPath& path) const;

  const std::vector<IAbstractClassHandler*>& handlers() const { return handlers_; }

 private:
  // Makes a handler of the type, which may refer to those made before it, and serves it.
  template <class Handler, class... Arguments>
  Handler& Add(Arguments&&... arguments);

  ServerContext server_context_;
  std::unique_ptr<AccountClassSet> account_classes_;
  std::vector<std::shared_ptr<void>> owned_;  // Destroyed as what they were made as.
  std::vector<IAbstractClassHandler*> handlers_;
};

}  // namespace kelvarion
