#include "platform/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace brivant::platform {

bool IsStandardOutputTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

int StandardOutputColumns() {
  struct winsize size {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace brivant::platform
