#include "common/Note.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

namespace KelpExample {

// NOLINTNEXTLINE(cert-dcl50-cpp): takes what printf takes, and the compiler checks it as such
void note(const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  dprintf(STDERR_FILENO, "%s[%d]: %s\n", program_invocation_short_name, getpid(), text);
}

}  // namespace KelpExample
