// What came of one request.
#pragma once

#include <string>
#include <vector>

#include "host/argument.h"
#include "host/schema.h"

namespace kelvarion::host {

struct Progress {
  std::u16string activity;
  std::u16string current_operation;
  std::u16string status_description;
  int percent_complete = -1;   // -1: unknown.
  int seconds_remaining = -1;  // -1: unknown.
};

struct Reply {
  HRESULT status = S_OK;
  std::vector<ObjectPtr> objects;
  std::vector<std::u16string> warnings;
  std::vector<Progress> progress;
  ObjectPtr error;  // Null when there is none.
};

// What a user wants to know while a request still runs. Called from the thread of the request.
class Observer {
 public:
  virtual void OnWarning(const std::u16string& text) = 0;
  virtual void OnProgress(const Progress& progress) = 0;

 protected:
  ~Observer() = default;
};

}  // namespace kelvarion::host
