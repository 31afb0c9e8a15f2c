// The terminal of a person who waits for a request: warnings as they come, progress as a bar.
#pragma once

#include "host/reply.h"

namespace kelvarion::host {

// Writes to standard error. The bar appears only on a terminal and is gone when the object is.
class Console final : public Observer {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  void OnWarning(const std::u16string& text) override;
  void OnProgress(const Progress& progress) override;

 private:
  void ClearBar();

  const bool terminal_;
  bool bar_shown_ = false;
};

// One line of at most `width` columns: "Importing demo  [#####     ]  48 %  2:10 left".
std::string ProgressLine(const Progress& progress, int width);

}  // namespace kelvarion::host
