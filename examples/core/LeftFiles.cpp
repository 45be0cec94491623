#include "core/LeftFiles.h"

#include <dirent.h>
#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "FilePathManager.h"
#include "common/StaleFifo.h"

namespace KelpExample {

namespace {

constexpr size_t kDigits = 8;

// A name that consists of a word, a number of eight hexadecimal digits, and perhaps more.
class NumberedName {
 public:
  NumberedName(const std::string& name, const char* word) : m_number(0) {
    const size_t start = strlen(word);
    const std::string digits = name.compare(0, start, word) == 0 ? name.substr(start, kDigits) : "";
    m_isOne = digits.size() == kDigits && digits.find_first_not_of("0123456789ABCDEF") == std::string::npos;
    if (m_isOne) {
      m_number = static_cast<int>(strtoul(digits.c_str(), nullptr, 16));
      m_rest = name.substr(start + kDigits);
    }
  }

  bool isOne() const { return m_isOne; }
  int number() const { return m_number; }
  const std::string& rest() const { return m_rest; }

 private:
  bool m_isOne;
  int m_number;
  std::string m_rest;
};

bool isDead(pid_t pid) {
  return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH;
}

// The files of a call bear the process id of the API client that made it.
bool isOfDeadClient(const std::string& directory, const std::string& name) {
  const NumberedName fifo(name, "fifo");
  if (fifo.isOne()) {
    const bool isClients = fifo.rest().empty() || fifo.rest() == "N";
    return isClients && isDead(fifo.number()) && !isFifoRead(directory + "/" + name);
  }
  for (const char* word : {"request", "payload", "response"}) {
    const NumberedName file(name, word);
    if (file.isOne()) {
      return isDead(file.number());
    }
  }
  return false;
}

// Requests that another core had taken over, and FIFOs of its applications.
bool isOfDeadCore(const std::string& directory, const std::string& name) {
  const NumberedName request(name, "core");
  if (request.isOne()) {
    return request.rest().empty();
  }
  const NumberedName fifo(name, "fifo");
  return fifo.isOne() && NumberedName(fifo.rest(), "_").isOne() && !isFifoRead(directory + "/" + name);
}

void removeFiles(const std::function<bool(const std::string& directory, const std::string& name)>& isLeft) {
  const std::string path = Kelp::FilePathManager::getCoreTmpPath();
  DIR* directory = opendir(path.c_str());
  if (directory == nullptr) {
    return;
  }
  while (const dirent* entry = readdir(directory)) {
    if (isLeft(path, entry->d_name)) {
      unlink((path + "/" + entry->d_name).c_str());
    }
  }
  closedir(directory);
}

}  // namespace

LeftFiles::LeftFiles(Kelp::EventLooperMultiWait& looper)
    : m_timer(Kelp::TimerService::getInstance().startCyclicTimerByMinutes(*this, &looper)) {
  removeFiles(isOfDeadCore);
  removeFiles(isOfDeadClient);
}

LeftFiles::~LeftFiles() {
  Kelp::TimerService::getInstance().cancelTimer(m_timer);
}

void LeftFiles::notifyCyclicTimerByMinutes(Kelp::TimerId_t /*timerId*/, const timeval& /*now*/) {
  removeFiles(isOfDeadClient);
}

}  // namespace KelpExample
