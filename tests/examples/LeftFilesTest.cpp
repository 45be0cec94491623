// What killed processes leave in the core's directory, and who removes it.
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "EventLooperMultiWait.h"
#include "FilePathManager.h"
#include "TimerService.h"
#include "core/LeftFiles.h"
#include "examples/ExamplePrograms.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;
using Names = std::vector<std::string>;

pid_t deadProcess() {
  const pid_t pid = fork();
  if (pid == 0) {
    _exit(0);
  }
  EXPECT_EQ(pid, waitpid(pid, nullptr, 0));
  return pid;
}

std::string hex8(pid_t pid) {
  char text[9];
  snprintf(text, sizeof(text), "%08X", static_cast<unsigned int>(pid));
  return text;
}

// All that a call has at one time or another.
Names filesOfClient(pid_t pid) {
  return {"request" + hex8(pid), "response" + hex8(pid), "payload" + hex8(pid) + "_request",
          "payload" + hex8(pid) + "_0000002A"};
}

Names fifosOfClient(pid_t pid) {
  return {"fifo" + hex8(pid), "fifo" + hex8(pid) + "N"};
}

const Names kFilesOfCore = {"core00000000", "core0000002A"};
const std::string kFifoOfApplication = "fifo00000001_00000001";
const Names kFilesOfOthers = {"core",          "core0000000G", "core000000001", "fifo0000",
                              "fifo00000001x", "notes",        "request0",      "request00000000"};

void makeFiles(const Names& names) {
  for (const std::string& name : names) {
    writeFile(FilePathManager::getCoreTmpPath() + "/" + name, "left");
  }
}

void makeFifos(const Names& names) {
  for (const std::string& name : names) {
    EXPECT_EQ(0, mkfifo((FilePathManager::getCoreTmpPath() + "/" + name).c_str(), 0666));
  }
}

Names operator+(Names left, const Names& right) {
  left.insert(left.end(), right.begin(), right.end());
  std::sort(left.begin(), left.end());
  return left;
}

class LeftFilesTest : public ExamplesTest {
 protected:
  LeftFilesTest() {
    makeFiles(filesOfClient(m_dead) + filesOfClient(getpid()) + kFilesOfCore + kFilesOfOthers);
    makeFifos(fifosOfClient(m_dead) + fifosOfClient(getpid()) + Names{kFifoOfApplication});
  }

  const pid_t m_dead = deadProcess();
  const Names m_ofTheLiving = filesOfClient(getpid()) + fifosOfClient(getpid()) + kFilesOfOthers;
};

TEST_F(LeftFilesTest, ACoreThatStartsRemovesWhatTheDeadHaveLeft) {
  CoreProcess core;
  EXPECT_EQ(m_ofTheLiving + Names{"fifocore"}, filesIn(FilePathManager::getCoreTmpPath()));
}

TEST_F(LeftFilesTest, FifosThatSomebodyReadsStay) {
  unlink((FilePathManager::getCoreTmpPath() + "/" + kFifoOfApplication).c_str());
  unlink(FilePathManager::getApiFifoPath(m_dead).c_str());
  const ForeignPeer application(Kelp::IpcAddressType_App, 1, 1, FilePathManager::getAppFifoPath(1, 1));
  const ForeignPeer client(Kelp::IpcAddressType_Api, m_dead, 0, FilePathManager::getApiFifoPath(m_dead));
  CoreProcess core;
  const Names read = {"fifo" + hex8(m_dead), kFifoOfApplication, "fifocore"};
  EXPECT_EQ(m_ofTheLiving + read, filesIn(FilePathManager::getCoreTmpPath()));
}

TEST_F(LeftFilesTest, EveryMinuteTheFilesOfDeadClientsGo) {
  Kelp::TimerService::createInstance();
  {
    Kelp::EventLooperMultiWait looper;
    KelpExample::LeftFiles leftFiles(looper);
    makeFiles(filesOfClient(m_dead) + kFilesOfCore);
    makeFifos(fifosOfClient(m_dead) + Names{kFifoOfApplication});
    leftFiles.notifyCyclicTimerByMinutes(0, timeval());
  }
  Kelp::TimerService::destroyInstance();
  EXPECT_EQ(m_ofTheLiving + kFilesOfCore + Names{kFifoOfApplication}, filesIn(FilePathManager::getCoreTmpPath()));
}

}  // namespace
}  // namespace KelpTest
