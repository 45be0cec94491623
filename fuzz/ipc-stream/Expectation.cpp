#include "fuzz/ipc-stream/Expectation.h"

#include <stdio.h>

#include <algorithm>

#include "fuzz/support/Check.h"

using KelpTest::WireMessage;

namespace KelpFuzz {

namespace {

constexpr char kTimerNumber[] = "timerId=";  // which number stands behind it is not known

}  // namespace

std::string Expectation::read(const WireMessage& message, bool isAwaited) {
  if (!isDataSizeValid(message.dataSize)) {
    m_lines.insert(m_lines.end(), 2, "###ERROR###\n");
    return "";
  }
  if (message.srcAddressType >= kSourceTypes) {
    return "0";
  }
  switch (message.kind) {
    case kRequest:
    case kOneWayRequest:
      return readRequest(message);
    case kResponse:
      if (isAwaited) {
        m_told.push_back(toldOf(message));
      } else {
        logged("receive response already timed out(?): sessionId=%d\n", static_cast<int>(message.sessionId));
      }
      return "";
    default:
      return "false";
  }
}

std::string Expectation::readRequest(const WireMessage& message) {
  const unsigned int bit = message.srcAddressType + (message.kind == kRequest ? 0 : kSourceTypes);
  if ((m_handlers >> bit & 1U) == 0) {
    return "m_pHandler[ srcIpcAddress.getIpcAddressType() ] != __null";
  }
  m_told.push_back(toldOf(message));
  return "";
}

void Expectation::logged(const char* format, int number) {
  char line[128];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  snprintf(line, sizeof(line), format, number);
#pragma GCC diagnostic pop
  m_lines.push_back(line);
}

void Expectation::loggedRemoval(const void* handler) {
  char line[64];
  snprintf(line, sizeof(line), "remove ResponseHandler(%p)\n", handler);
  m_lines.push_back(line);
}

void Expectation::checkTold(const Told& told) {
  FUZZ_CHECK_EQ(m_told.size(), 1U);
  FUZZ_CHECK_EQ(told, m_told.front());
  m_told.clear();
}

void Expectation::checkNobodyWaits() const {
  FUZZ_CHECK(m_told.empty());
}

void Expectation::checkLog() {
  std::vector<std::string> lines = m_log.take();
  for (std::string& line : lines) {
    const size_t number = line.find(kTimerNumber);
    line.resize(number == std::string::npos ? line.size() : number);
  }
  for (size_t i = 0; i < std::min(lines.size(), m_lines.size()); ++i) {
    FUZZ_CHECK_EQ(lines[i], m_lines[i]);
  }
  FUZZ_CHECK_EQ(lines.size(), m_lines.size());
  m_lines.clear();
}

}  // namespace KelpFuzz
