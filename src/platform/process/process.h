// This process: its program, its account, its terminal and the interrupts its user sends.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/com/types.h"

namespace kelvarion::platform {

// The path of the running program, links resolved, UTF-8.
std::string ProgramPath();

bool RunsAsRoot();
// The groups of the account that the process runs as, as SIDs.
std::vector<std::u16string> CurrentGroupSids();

// Files and folders made from now on are for their owner alone, unless they are opened up later.
void KeepNewFilesPrivate();

// Writing to a connection whose other end is gone is an error from now on, not the process's end.
void IgnoreBrokenPipes();

// Memory that large requests needed goes back to the system, however many threads made them.
void KeepLittleMemory();

bool OutputIsTerminal();
bool ErrorOutputIsTerminal();
bool InputIsTerminal();
// The next line of standard input, without its end. On a terminal the prompt is shown and nothing
// of what is typed. False when there is no line, it is too long for a password, or the user
// interrupts.
bool ReadSecretLine(const std::string& prompt, std::string& line);
// Columns of the terminal on standard output; 80 where nobody knows.
int TerminalWidth();

// While the object lives, an interrupt from the terminal (or a request to terminate) does not end
// the process but calls `on_interrupt`, on a thread of the watch's own, once for every interrupt
// until the object is destroyed. One watch at a time.
class InterruptWatch {
 public:
  explicit InterruptWatch(std::function<void()> on_interrupt);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kelvarion::platform
