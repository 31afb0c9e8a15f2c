#include "host/program_paths.h"

#include <filesystem>

#include "platform/process/process.h"

namespace kelvarion::host {

ProgramPaths FindProgramPaths() {
  const std::filesystem::path prefix =
      std::filesystem::path(platform::ProgramPath()).parent_path().parent_path();
  return {(prefix / "share/kelvarion/schema").string(),
          (prefix / "share/kelvarion/server").string(),
          (prefix / "lib/libkelvarion_provider.so").string(), (prefix / "lib/httpd").string(),
          (prefix / "bin").string()};
}

}  // namespace kelvarion::host
