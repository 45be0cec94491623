#include "examples/ExamplePrograms.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "FilePathManager.h"
#include "common/StaleFifo.h"

namespace KelpTest {

namespace {

using Kelp::FilePathManager;

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) {
    pointers.push_back(const_cast<char*>(text.c_str()));
  }
  pointers.push_back(nullptr);
  return pointers;
}

// What the test process has in its environment, such as the sanitizers' options, and what is given.
std::vector<std::string> environmentWith(const std::vector<std::string>& variables) {
  std::vector<std::string> all = variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    all.emplace_back(*variable);
  }
  return all;
}

// A program's standard streams; -1: the test's own.
struct Streams {
  int input = -1;
  int output = -1;
  int error = -1;
};

bool putInPlace(int fd, int stream) {
  return fd == -1 || dup2(fd, stream) != -1;
}

// A program does not outlive the test that started it, however that ends.
pid_t spawn(const std::vector<std::string>& command, const std::vector<std::string>& variables,
            const Streams& streams) {
  const std::vector<char*> arguments = pointersTo(command);
  const std::vector<std::string> environment = environmentWith(variables);
  const std::vector<char*> environmentPointers = pointersTo(environment);
  EXPECT_EQ(0, access(arguments[0], X_OK)) << arguments[0];
  const pid_t test = getpid();
  const pid_t pid = fork();
  if (pid != 0) {
    EXPECT_NE(-1, pid);
    return pid;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() == test && putInPlace(streams.input, STDIN_FILENO) && putInPlace(streams.output, STDOUT_FILENO) &&
      putInPlace(streams.error, STDERR_FILENO)) {
    execve(arguments[0], arguments.data(), environmentPointers.data());
  }
  _exit(127);
}

std::string readAll(int fd) {
  std::string text;
  char buffer[4096];
  for (ssize_t count = read(fd, buffer, sizeof(buffer)); count > 0; count = read(fd, buffer, sizeof(buffer))) {
    text.append(buffer, static_cast<size_t>(count));
  }
  return text;
}

ClientReply parseReply(int exitStatus, const std::string& text) {
  const char kStatus[] = "Status: ";
  const size_t headEnd = text.find("\r\n\r\n");
  if (text.compare(0, strlen(kStatus), kStatus) != 0 || headEnd == std::string::npos) {
    return {exitStatus, 0, text};
  }
  return {exitStatus, static_cast<int>(strtol(text.c_str() + strlen(kStatus), nullptr, 10)), text.substr(headEnd + 4)};
}

}  // namespace

bool waitUntil(const std::function<bool()>& isTrue) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!isTrue()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

std::vector<std::string> filesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::string contentOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void signalProcess(pid_t processId, int number) {
  ASSERT_LT(0, processId);
  EXPECT_EQ(0, kill(processId, number));
}

void installApplications() {
  std::filesystem::copy(std::string(KELP_DEMO_DATA) + "/Kelpapp", FilePathManager::getAppBasePath(),
                        std::filesystem::copy_options::recursive);
  for (const std::string& name : filesIn(FilePathManager::getAppBasePath())) {
    std::filesystem::create_directory(FilePathManager::getAppBinPath(name));
    std::filesystem::create_symlink(KELP_APPLICATION, FilePathManager::getAppBinPath(name) + "/application");
  }
}

void installApplication(const std::string& name, const std::string& preferences) {
  const std::string directory = FilePathManager::getAppPath(name);
  std::filesystem::create_directories(directory + "/conf");
  std::filesystem::create_directory(directory + "/bin");
  writeFile(directory + "/conf/appPrefs.json", preferences);
  std::filesystem::create_symlink(KELP_APPLICATION, directory + "/bin/application");
}

void setRunningTime(int32_t minutes) {
  const std::string directory = "/mnt/system/stats/uptime_total";
  std::filesystem::create_directories(directory);
  writeFile(directory + "/total_lapsetime_min.bin",
            std::string(reinterpret_cast<const char*>(&minutes), sizeof(minutes)) + " and more");
}

CoreProcess::CoreProcess(Start start, const std::string& logPath) {
  const int logFd = logPath.empty() ? -1 : open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  m_pid = spawn({KELP_CORE}, {}, {-1, -1, logFd});
  if (logFd != -1) {
    close(logFd);
  }
  if (start == Start::Succeeds) {
    EXPECT_TRUE(waitUntil([] { return KelpExample::isFifoRead(FilePathManager::getCoreFifoPath()); }));
  }
}

CoreProcess::~CoreProcess() {
  if (m_pid != -1) {
    sendSignal(SIGKILL);
    waitForEnd();
  }
}

pid_t CoreProcess::pid() const {
  return m_pid;
}

void CoreProcess::sendSignal(int number) const {
  signalProcess(m_pid, number);
}

void CoreProcess::stop() const {
  sendSignal(SIGSTOP);
  int status;
  EXPECT_EQ(m_pid, waitpid(m_pid, &status, WUNTRACED));
  EXPECT_TRUE(WIFSTOPPED(status));
}

int CoreProcess::waitForEnd() {
  int status = -1;
  EXPECT_EQ(m_pid, waitpid(m_pid, &status, 0));
  m_pid = -1;
  return status;
}

bool CoreProcess::isRunning() const {
  siginfo_t info = {};
  return waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

namespace {

// Waits for its core's end and becomes an application of it.
[[noreturn]] void becomeOrphanedApplication(pid_t core) {
  while (getppid() == core) {
    sched_yield();
  }
  const std::vector<std::string> command = {KELP_APPLICATION, "clock", "1", "1", std::to_string(core)};
  execv(KELP_APPLICATION, pointersTo(command).data());
  _exit(127);
}

}  // namespace

// The process between this one and the application ends in the core's place.
OrphanedApplication::OrphanedApplication() : m_pid(-1), m_waitStatus(0) {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  int pids[2];
  EXPECT_EQ(0, pipe2(pids, O_CLOEXEC));
  const pid_t core = fork();
  if (core == 0) {
    const pid_t self = getpid();
    const pid_t application = fork();
    if (application == 0) {
      becomeOrphanedApplication(self);
    }
    _exit(write(pids[1], &application, sizeof(application)) == static_cast<ssize_t>(sizeof(application)) ? 0 : 1);
  }
  EXPECT_EQ(static_cast<ssize_t>(sizeof(m_pid)), read(pids[0], &m_pid, sizeof(m_pid)));
  EXPECT_EQ(core, waitpid(core, nullptr, 0));
  close(pids[0]);
  close(pids[1]);
}

OrphanedApplication::~OrphanedApplication() {
  if (!hasEnded()) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
}

bool OrphanedApplication::hasEnded() {
  if (m_pid != -1 && waitpid(m_pid, &m_waitStatus, WNOHANG) == m_pid) {
    m_pid = -1;
  }
  return m_pid == -1;
}

int OrphanedApplication::waitStatus() const {
  return m_waitStatus;
}

ClientProcess::ClientProcess(const std::string& input, const std::vector<std::string>& variables) {
  signal(SIGPIPE, SIG_IGN);  // a client may refuse to read its input
  int in[2];
  int out[2];
  EXPECT_EQ(0, pipe2(in, O_CLOEXEC));
  EXPECT_EQ(0, pipe2(out, O_CLOEXEC));
  m_pid = spawn({KELP_API_CLIENT}, variables, {in[0], out[1], -1});
  close(in[0]);
  close(out[1]);
  for (size_t written = 0; written < input.size();) {
    const ssize_t count = write(in[1], input.data() + written, input.size() - written);
    if (count < 0) {
      break;
    }
    written += static_cast<size_t>(count);
  }
  close(in[1]);
  m_outputFd = out[0];
}

ClientProcess::~ClientProcess() {
  hangUp();
}

pid_t ClientProcess::pid() const {
  return m_pid;
}

void ClientProcess::sendSignal(int number) const {
  signalProcess(m_pid, number);
}

void ClientProcess::hangUp() {
  if (m_outputFd != -1) {
    close(m_outputFd);
    m_outputFd = -1;
  }
}

ClientReply ClientProcess::waitForReply() {
  const std::string text = m_outputFd == -1 ? "" : readAll(m_outputFd);
  int status = -1;
  EXPECT_EQ(m_pid, waitpid(m_pid, &status, 0));
  return parseReply(status, text);
}

ClientReply callApi(const std::string& body, const std::string& contentType) {
  return ClientProcess(body, postVariables(body, contentType)).waitForReply();
}

std::vector<std::string> postVariables(const std::string& body, const std::string& contentType) {
  return {"REQUEST_METHOD=POST", "CONTENT_TYPE=" + contentType, "CONTENT_LENGTH=" + std::to_string(body.size())};
}

// Another test of this process may have left its own.
ExamplesTest::ExamplesTest() : m_coreFifo(FilePathManager::getCoreFifoPath()) {
  for (const std::string& directory : {FilePathManager::getAppBasePath(), FilePathManager::getCoreTmpPath()}) {
    std::filesystem::remove_all(directory);
  }
  std::filesystem::create_directory(FilePathManager::getCoreTmpPath());
  installApplications();
  m_clockPrefs = FilePathManager::getAppPrefsFilePath("clock");
}

void ExamplesTest::endCore(CoreProcess& core) {
  core.sendSignal(SIGTERM);
  EXPECT_EQ(0, core.waitForEnd());
  EXPECT_EQ(std::vector<std::string>(), filesIn(FilePathManager::getCoreTmpPath()));
}

bool sendAs(const Sender& sender, const std::string& toFifoPath, Kelp::IpcMessageKind kind, Kelp::SessionId_t sessionId,
            const std::string& payload) {
  Kelp::IpcHeader header = {};
  header.kind = kind;
  header.sessionId = sessionId;
  header.srcAddressType = sender.type;
  header.srcSpecificId.app = {sender.firstId, sender.secondId};
  header.dataSize = static_cast<int32_t>(payload.size());
  const std::string message = std::string(reinterpret_cast<const char*>(&header), sizeof(header)) + payload;
  const int fd = open(toFifoPath.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  const bool isSent = write(fd, message.data(), message.size()) == static_cast<ssize_t>(message.size());
  close(fd);
  return isSent;
}

ForeignPeer::ForeignPeer(Kelp::IpcAddressType type, int firstId, int secondId, const std::string& fifoPath)
    : m_type(type), m_firstId(firstId), m_secondId(secondId), m_fifoPath(fifoPath) {
  EXPECT_EQ(0, mkfifo(fifoPath.c_str(), 0666));
  m_fd = open(fifoPath.c_str(), O_RDWR | O_CLOEXEC);
  EXPECT_NE(-1, m_fd);
}

ForeignPeer::~ForeignPeer() {
  close(m_fd);
  unlink(m_fifoPath.c_str());
}

void ForeignPeer::send(const std::string& toFifoPath, Kelp::IpcMessageKind kind, Kelp::SessionId_t sessionId,
                       const std::string& payload) const {
  EXPECT_TRUE(sendAs({m_type, m_firstId, m_secondId}, toFifoPath, kind, sessionId, payload));
}

bool ForeignPeer::receive(Kelp::IpcHeader& header, std::string& payload) const {
  pollfd input = {m_fd, POLLIN, 0};
  if (poll(&input, 1, 20000) != 1 || read(m_fd, &header, sizeof(header)) != static_cast<ssize_t>(sizeof(header))) {
    return false;
  }
  payload.resize(static_cast<size_t>(header.dataSize));
  return read(m_fd, &payload[0], payload.size()) == static_cast<ssize_t>(payload.size());
}

}  // namespace KelpTest
