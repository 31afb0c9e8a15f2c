// The SQLite file that keeps a registry.
#pragma once

#include <string>

#include "platform/sqlite/sqlite.h"

namespace kelvarion::platform::registry {

// Opens the file, made whole when it is missing: nobody ever sees one without its tables.
// ERROR_BADDB for a file that is no registry.
Win32Error OpenDatabase(const std::string& file, sqlite::Database& out);
// The same for a file that OpenDatabase has opened before.
Win32Error OpenConnection(const std::string& file, sqlite::Database& out);

}  // namespace kelvarion::platform::registry
