// Runs the example programs inside a test: the core as a child process, an API client as the web server would, and a
// peer made of plain system calls that can say anything.
#ifndef KELP_TESTS_EXAMPLES_EXAMPLE_PROGRAMS_H
#define KELP_TESTS_EXAMPLES_EXAMPLE_PROGRAMS_H

#include <gtest/gtest.h>
#include <stdint.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "IpcHeader.h"

namespace KelpTest {

// Repeats the question until it is answered with true, or for 20 seconds.
bool waitUntil(const std::function<bool()>& isTrue);

std::vector<std::string> filesIn(const std::string& directory);

bool has(const std::string& text, const std::string& part);
std::string contentOf(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);

// Fails without a process id: kill() takes -1 for every process of the machine.
void signalProcess(pid_t processId, int number);

// The applications of the demo, as the platform would have installed them.
void installApplications();

// One more.
void installApplication(const std::string& name, const std::string& preferences);

// The device's running time, as the platform keeps it.
void setRunningTime(int32_t minutes);

// A running core. Killed, if it still runs, when it goes.
class CoreProcess {
 public:
  enum class Start { Succeeds, Fails };

  // Returns when the core reads its FIFO, or, when its start is to fail, at once. `logPath`: a file for what it and its
  // applications write to standard error; empty: the test's own.
  explicit CoreProcess(Start start = Start::Succeeds, const std::string& logPath = "");
  ~CoreProcess();
  CoreProcess(const CoreProcess&) = delete;
  CoreProcess& operator=(const CoreProcess&) = delete;

  pid_t pid() const;
  void sendSignal(int number) const;
  void stop() const;  // SIGSTOP; returns when the process has stopped
  int waitForEnd();   // the status of waitpid()
  bool isRunning() const;

 private:
  pid_t m_pid;
};

// An application whose core has gone before the program runs.
class OrphanedApplication {
 public:
  OrphanedApplication();
  ~OrphanedApplication();
  OrphanedApplication(const OrphanedApplication&) = delete;
  OrphanedApplication& operator=(const OrphanedApplication&) = delete;

  bool hasEnded();
  int waitStatus() const;  // of waitpid(), when it has ended

 private:
  pid_t m_pid;
  int m_waitStatus;
};

struct ClientReply {
  int exitStatus;  // of waitpid()
  int httpStatus;  // 0 when the reply has none
  std::string body;
};

// An API client as the web server runs it, in steps.
class ClientProcess {
 public:
  // `variables`: the CGI environment as "NAME=value".
  ClientProcess(const std::string& input, const std::vector<std::string>& variables);
  ~ClientProcess();
  ClientProcess(const ClientProcess&) = delete;
  ClientProcess& operator=(const ClientProcess&) = delete;

  pid_t pid() const;
  void sendSignal(int number) const;
  void hangUp();  // the caller reads no more
  ClientReply waitForReply();

 private:
  pid_t m_pid;
  int m_outputFd;
};

// One whole call, as a URL-encoded form or as whatever `contentType` says.
ClientReply callApi(const std::string& body, const std::string& contentType = "application/x-www-form-urlencoded");

// The CGI environment of the POST of such a body.
std::vector<std::string> postVariables(const std::string& body, const std::string& contentType);

// A machine with the demo's applications installed, in the test's private file systems.
class ExamplesTest : public testing::Test {
 protected:
  ExamplesTest();

  // Ends the core and checks that it ends well and leaves nothing behind.
  static void endCore(CoreProcess& core);

  const std::string m_coreFifo;
  std::string m_clockPrefs;  // where an application's files are depends on what is installed
};

// Who a message says that it comes from.
struct Sender {
  Kelp::IpcAddressType type;
  int firstId;
  int secondId;
};

// Sends a message made of plain system calls. Returns false when the FIFO does not take it.
bool sendAs(const Sender& sender, const std::string& toFifoPath, Kelp::IpcMessageKind kind, Kelp::SessionId_t sessionId,
            const std::string& payload);

// An API client, application or core that speaks the messages' wire format. `firstId` and `secondId` are its identity.
class ForeignPeer {
 public:
  ForeignPeer(Kelp::IpcAddressType type, int firstId, int secondId, const std::string& fifoPath);
  ~ForeignPeer();
  ForeignPeer(const ForeignPeer&) = delete;
  ForeignPeer& operator=(const ForeignPeer&) = delete;

  void send(const std::string& toFifoPath, Kelp::IpcMessageKind kind, Kelp::SessionId_t sessionId,
            const std::string& payload) const;

  // The next message, for which it waits up to 20 seconds. Returns false when none came.
  bool receive(Kelp::IpcHeader& header, std::string& payload) const;

 private:
  const Kelp::IpcAddressType m_type;
  const int m_firstId;
  const int m_secondId;
  const std::string m_fifoPath;
  int m_fd;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_EXAMPLES_EXAMPLE_PROGRAMS_H
