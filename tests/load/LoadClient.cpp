#include "load/LoadClient.h"

#include <functional>
#include <string>

#include "common/WebApi.h"

namespace KelpTest {

namespace {

using KelpExample::Record;
using KelpExample::RecordItem;

// The bytes of a record without the number that is another one in each.
std::string withoutCallback(const Record& record) {
  Record rest;
  for (const RecordItem& item : record.items()) {
    if (item.name == KelpExample::kCallback) {
      continue;
    }
    Record one;
    one.putString(item.name, item.text + "=" + std::to_string(item.number));
    rest.append(one);
  }
  return rest.encode();
}

Record requestNamed(const char* methodName) {
  Record request;
  request.putString(KelpExample::kMethodName, methodName);
  return request;
}

}  // namespace

LoadClient::LoadClient(unsigned seed, std::chrono::microseconds pause, const Machine& machine,
                       const std::atomic<Phase>& phase, const std::atomic<bool>& isToEnd, ClientBoard& board)
    : m_pause(pause),
      m_machine(machine),
      m_phase(phase),
      m_isToEnd(isToEnd),
      m_board(board),
      m_random(seed),
      m_isNew(true),
      m_phaseOfRequest(Phase::Unmeasured),
      m_preferences(static_cast<size_t>(machine.applications) + 1) {}

int LoadClient::run() {
  Caller::Conduct conduct;
  conduct.timeoutMs = kTimeoutMs;
  conduct.isSenderKept = pick(2) == 0;
  conduct.nextRequest = [this] { return nextRequest(); };
  conduct.isRight = [this](const Record& request, const Record& answer) { return isRight(request, answer); };
  conduct.nextPause = [this] { return std::chrono::microseconds(pick(static_cast<int>(2 * m_pause.count()))); };
  conduct.noteLatency = [this](std::chrono::nanoseconds latency) { noteLatency(latency); };
  conduct.isToEnd = [this] { return m_isToEnd.load(); };
  return Caller(conduct, m_board.account).run();
}

// Most of them small; every fourth of any size up to the largest message, and now and then one that has to travel in a
// file, as the list of many applications has to. The largest come first: then the heap has its size.
Record LoadClient::nextRequest() {
  m_phaseOfRequest = m_phase;
  const int choice = m_isNew ? 99 : pick(100);
  m_isNew = false;
  if (choice < 55) {
    Record request = requestNamed("getPreferences");
    request.putHexadecimal(KelpExample::kInstallId, 1 + pick(m_machine.applications - 1));
    return request;
  }
  if (choice < 58) {
    return requestNamed("getApplicationList");
  }
  Record request = requestNamed("getStatus");
  if (choice >= 73) {
    request.putString(KelpExample::kArgs, std::string(static_cast<size_t>(choice == 99 ? 20000 : pick(3900)), 'p'));
  }
  return request;
}

bool LoadClient::isRight(const Record& request, const Record& answer) {
  std::string method;
  request.getString(KelpExample::kMethodName, method);
  if (method == "getPreferences") {
    int installId = 0;
    request.getNumber(KelpExample::kInstallId, installId);
    return arePreferencesRight(installId, answer);
  }
  if (method == "getApplicationList") {
    return isListRight(answer);
  }
  int installed = 0;
  return answer.getNumber("installedCount", installed) && installed == m_machine.applications;
}

bool LoadClient::arePreferencesRight(int installId, const Record& answer) {
  int funcId = 0;
  const size_t content = std::hash<std::string>()(withoutCallback(answer));
  size_t& first = m_preferences[static_cast<size_t>(installId)];
  first = first == 0 ? content : first;
  return answer.getNumber(KelpExample::kFuncId, funcId) && funcId == m_machine.firstFuncId + installId - 1 &&
         content == first;
}

bool LoadClient::isListRight(const Record& answer) const {
  int due = 0;
  for (const RecordItem& item : answer.items()) {
    if (item.name == KelpExample::kInstallId && item.number != ++due) {
      return false;
    }
  }
  return due == m_machine.applications;
}

void LoadClient::noteLatency(std::chrono::nanoseconds latency) {
  const Phase phase = m_phase;
  if (phase != m_phaseOfRequest || phase == Phase::Unmeasured) {
    return;
  }
  (phase == Phase::Calm ? m_board.calm : m_board.oneStopped).note(latency);
}

int LoadClient::pick(int count) {
  return std::uniform_int_distribution<int>(0, count - 1)(m_random);
}

}  // namespace KelpTest
