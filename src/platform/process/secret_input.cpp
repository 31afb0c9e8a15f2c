#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/process/process.h"

namespace kelvarion::platform {
namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr char kInterrupt = 3;  // Ctrl-C

// What is typed while this lives is not shown. An interrupt ends the line instead of the process,
// which would leave the terminal silent.
class SilentTerminal {
 public:
  SilentTerminal() {
    if (tcgetattr(STDIN_FILENO, &before_) != 0) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
    silent.c_cc[VEOL] = kInterrupt;
    changed_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (changed_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  bool silent() const { return changed_; }

 private:
  termios before_{};
  bool changed_ = false;
};

void Show(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Byte by byte, so that what follows the line stays for others to read.
bool ReadLine(std::string& line) {
  line.clear();
  for (;;) {
    char c = 0;
    const ssize_t count = read(STDIN_FILENO, &c, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 || line.size() > kLongestLine) return false;
    if (count == 0) return !line.empty();
    if (c == '\n') return true;
    line += c;
    if (c == kInterrupt) return false;
  }
}

}  // namespace

bool InputIsTerminal() { return isatty(STDIN_FILENO) == 1; }

bool ReadSecretLine(const std::string& prompt, std::string& line) {
  if (!InputIsTerminal()) return ReadLine(line);
  const SilentTerminal terminal;
  if (!terminal.silent()) return false;
  Show(prompt);
  const bool read = ReadLine(line);
  Show("\n");
  return read;
}

}  // namespace kelvarion::platform
