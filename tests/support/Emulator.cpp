#include "support/Emulator.h"

#include <signal.h>

#include <sstream>

namespace KelpTest {

std::vector<std::string> emulatorCommand() {
  std::istringstream words(KELP_TEST_EMULATOR);
  std::vector<std::string> command;
  for (std::string word; words >> word;) {
    command.push_back(word);
  }
  return command;
}

bool isEmulated() {
  return !emulatorCommand().empty();
}

int lastSignal() {
  return isEmulated() ? SIGRTMAX - 2 : SIGRTMAX;
}

}  // namespace KelpTest
