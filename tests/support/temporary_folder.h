// An empty folder for a test.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace kelvarion::testing {

// Removed with everything in it when the object goes. Its path is ASCII.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "kelvarion-test-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    native_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(native_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& native() const { return native_; }
  std::u16string path() const { return {native_.begin(), native_.end()}; }

 private:
  std::string native_;
};

}  // namespace kelvarion::testing
