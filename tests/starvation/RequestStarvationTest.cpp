// A request from the building of both ends to their destruction: an API client tells the core something one-way, asks
// it something else, and gets its response. Both serve their FIFOs in one loop, so that each call has its turn.

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "EventLooperMultiWait.h"
#include "ExecObjectEventSender.h"
#include "IpcAddressApi.h"
#include "IpcAddressCore.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "TimerService.h"
#include "ipc/Sigpipe.h"
#include "starvation/LoopLines.h"
#include "starvation/Starvation.h"
#include "support/LoopActors.h"

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::EventLooperMultiWait;
using Kelp::IpcAddress;
using Kelp::IpcAddressApi;
using Kelp::IpcAddressCore;
using Kelp::IpcEventReceiver;
using Kelp::IpcEventSender;
using Kelp::SessionId_t;
using Kelp::TimerService;
using KelpTest::asserts;
using KelpTest::Call;
using KelpTest::Ending;
using KelpTest::errorLine;
using KelpTest::errorOf;
using KelpTest::goesOn;
using KelpTest::loggedErrors;
using KelpTest::LogLine;
using KelpTest::notRemovedLine;
using KelpTest::refusalLine;
using KelpTest::UncountedCalls;

constexpr int kClientPid = 1234;
constexpr int kTimeout = 500;  // ms
constexpr char kQuestion[] = "How are you?";
constexpr char kAnswer[] = "Fine, thank you.";

template <typename Data>
struct Text : Data {
  explicit Text(const char* from) { strcpy(text, from); }
  int size() const { return static_cast<int>(strlen(text)) + 1; }
  char text[32];
};

// Notes what happens, one letter to each, and the codes of what is sent.
class Core : public IpcEventReceiver::RequestHandler, public IpcEventReceiver::OneWayRequestHandler {
 public:
  Core(IpcEventReceiver& receiver, std::string& story) : m_receiver(receiver), m_story(story) {
    receiver.setRequestHandler(Kelp::IpcAddressType_Api, *this);
    receiver.setOneWayRequestHandler(Kelp::IpcAddressType_Api, *this);
  }

  void handleOneWayRequest(IpcAddress& /*source*/, Kelp::IpcDataOneWayRequest& /*data*/, int /*size*/) override {
    m_story += ", told";
  }

  void handleRequest(IpcAddress& source, Kelp::IpcDataRequest& /*data*/, int /*size*/, SessionId_t sessionId) override {
    m_story += ", asked";
    IpcEventSender sender(source, m_receiver.getIpcAddress());
    Text<Kelp::IpcDataResponse> answer(kAnswer);
    m_story += " " + std::to_string(sender.sendResponse(sessionId, answer, answer.size()));
  }

 private:
  IpcEventReceiver& m_receiver;
  std::string& m_story;
};

class Client : public IpcEventSender::ResponseHandler {
 public:
  Client(EventLooperMultiWait& looper, std::string& story) : m_looper(looper), m_story(story) {}

  void handleResponse(SessionId_t /*sessionId*/, IpcAddress& /*source*/, Kelp::IpcDataResponse& data,
                      int /*size*/) override {
    m_story += strcmp(static_cast<Text<Kelp::IpcDataResponse>&>(data).text, kAnswer) == 0 ? ", answered" : ", garbled";
    m_looper.exitEventLoop();
  }

  void handleTimeoutError(SessionId_t /*sessionId*/) override {
    m_story += ", timeout";
    m_looper.exitEventLoop();
  }

 private:
  EventLooperMultiWait& m_looper;
  std::string& m_story;
};

class Conversation {
 public:
  Conversation(EventLooperMultiWait& looper, IpcEventReceiver& coreReceiver, IpcEventReceiver& clientReceiver)
      : m_looper(looper),
        m_core(coreReceiver, m_story),
        m_client(looper, m_story),
        m_sender(coreReceiver.getIpcAddress(), clientReceiver) {}

  // Begun in the loop, because requests are sent there.
  std::string hold() {
    const int errors = loggedErrors();
    m_looper.getExecObjectEventSender().send(*new KelpTest::FunctionExecObject([this] { begin(); }));
    if (loggedErrors() == errors) {
      m_looper.runEventLoop();
    }
    return m_story;
  }

 private:
  void begin() {
    Text<Kelp::IpcDataOneWayRequest> hint(kQuestion);
    m_story += "hint " + std::to_string(m_sender.sendOneWayRequest(hint, hint.size()));
    Text<Kelp::IpcDataRequest> question(kQuestion);
    SessionId_t sessionId = 0;
    const CommonReturnCode_t result = m_sender.sendRequest(question, question.size(), m_client, sessionId, kTimeout);
    m_story += ", question " + std::to_string(result);
    if (result != Kelp::CommonReturnCode_Ok) {
      m_looper.exitEventLoop();
    }
  }

  EventLooperMultiWait& m_looper;
  std::string m_story;
  Core m_core;
  Client m_client;
  IpcEventSender m_sender;
};

std::string liveInLoop() {
  EventLooperMultiWait looper;
  IpcEventReceiver core((IpcAddressCore()));
  IpcEventReceiver client((IpcAddressApi(kClientPid)));
  if (loggedErrors("EventPoller.cpp") > 0) {
    return "no loop";
  }
  std::string story = "not added";
  if (looper.addEventReceiver(core)) {
    if (looper.addEventReceiver(client)) {
      story = Conversation(looper, core, client).hold();
      looper.removeEventReceiver(client);
    }
    looper.removeEventReceiver(core);
  }
  return story;
}

// Where the mask could not be put back, it is a life's only.
void unblockSigpipe() {
  const sigset_t set = KelpTest::sigpipeOnly();
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

std::string liveWithARequest() {
  TimerService::createInstance();
  std::string story = liveInLoop();
  TimerService::destroyInstance();
  const UncountedCalls own;
  return story + (KelpTest::isSigpipeBlocked() ? ", SIGPIPE blocked" : "");
}

// Somebody who reads the core's FIFO without the library.
class Reader {
 public:
  Reader() : m_path(IpcAddressCore().getFifoFilePath()), m_fd(-1) {
    const UncountedCalls own;
    mkfifo(m_path.c_str(), 0600);
    m_fd = open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  }

  void leave() const {
    const UncountedCalls own;
    close(m_fd);
    unlink(m_path.c_str());
  }

 private:
  std::string m_path;
  int m_fd;
};

void raiseBlockedSigpipe() {
  const UncountedCalls own;
  const sigset_t set = KelpTest::sigpipeOnly();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  pthread_kill(pthread_self(), SIGPIPE);
}

bool takeSigpipe() {
  const UncountedCalls own;
  return !KelpTest::takePendingSigpipes().empty();
}

// A message to a reader that is gone, from a thread that has blocked SIGPIPE and has got one before.
std::string sendToNobody() {
  const Reader reader;
  IpcEventSender sender{IpcAddressCore(), IpcAddressApi(kClientPid)};
  reader.leave();
  raiseBlockedSigpipe();
  Text<Kelp::IpcDataOneWayRequest> hint(kQuestion);
  const int result = sender.sendOneWayRequest(hint, hint.size());
  const bool isPending = takeSigpipe();
  return std::to_string(result) + (isPending ? ", pending as before" : ", not pending");
}

constexpr char kAll[] = "hint 0, question 0, told, asked 0, answered";

LogLine bareLine(const std::string& file, const std::string& function) {
  return errorLine(file, 0, function, "###ERROR###\n");
}

const LogLine kNoFifo = bareLine("IpcReceiver.cpp", "makeComChannel");
const LogLine kNotReceived = bareLine("IpcEventReceiver.cpp", "receiveAndExecuteEvent");

LogLine notOpenLine(int error) {
  return errorLine("FileOperator.cpp", 0, "open",
                   "###ERROR### open() returns error(errno=" + std::to_string(error) + ").\n");
}

LogLine notUnlinkedLine(int error) {
  return errorLine("FileOperator.cpp", 0, "~FileOperator",
                   "###ERROR### unlink() returns error(errno=" + std::to_string(error) + ").\n");
}

LogLine notReadLine(const std::string& what) {
  return errorLine("IpcReceiver.cpp", 0, "receive", "###ERROR### " + what + "\n\n");
}

// An end whose FIFO has no descriptor cannot be served.
void expectOfDescriptors(KelpTest::Starvation& starvation) {
  const LogLine notOpen = notOpenLine(errorOf(Call::Open));
  const LogLine noReceiver = bareLine("IpcReceiver.cpp", "IpcReceiver");
  const LogLine noSender = bareLine("IpcSender.cpp", "IpcSender");
  starvation.expect(Call::Open, {goesOn("not added", {notOpen, noReceiver, refusalLine(EBADF)}),
                                 goesOn("hint 14, question 14", {notOpen, noSender}),
                                 goesOn("hint 0, question 0, told, asked 14, timeout", {notOpen, noSender})});
  starvation.expect(
      Call::Mkfifo,
      {goesOn("not added", {kNoFifo, notOpenLine(ENOENT), noReceiver, refusalLine(EBADF), notUnlinkedLine(ENOENT)})});
  starvation.expect(Call::Fcntl, {goesOn("not added", {refusalLine(EBADF)})});
  starvation.expect(Call::Unlink, {goesOn(kAll, {notUnlinkedLine(errorOf(Call::Unlink))}).loggingLater({kNoFifo})});
  starvation.expect(Call::Close,
                    {goesOn(kAll, {KelpTest::failedCloseLine()}), goesOn(kAll, {KelpTest::failedPollerCloseLine()})});
}

// A message is lost, or is read once more.
void expectOfMessages(KelpTest::Starvation& starvation) {
  const Ending noHint = goesOn("hint 14, question 0, asked 0, answered");
  const Ending noQuestion = goesOn("hint 0, question 14");
  const Ending noAnswer = goesOn("hint 0, question 0, told, asked 14, timeout");
  starvation.expect(Call::Write, {goesOn("", {KelpTest::lostObjectLine()}).losing(1), noHint, noQuestion, noAnswer});

  const std::string hintLost = "hint 0, question 0, asked 0, answered";
  const std::string questionLost = "hint 0, question 0, told, timeout";
  const std::string answerLost = "hint 0, question 0, told, asked 0, timeout";
  const LogLine noMemory = bareLine("IpcReceiver.cpp", "receive");
  starvation.expect(Call::Malloc,
                    {goesOn(hintLost, {noMemory, kNotReceived}), goesOn(questionLost, {noMemory, kNotReceived}),
                     goesOn(answerLost, {noMemory, kNotReceived})});
  const LogLine noHeader = notReadLine("headerSize=32, ret=-1");
  const LogLine noQuestionData = notReadLine("dataSize=-1, ret=" + std::to_string(sizeof(kQuestion)));
  const LogLine noAnswerData = notReadLine("dataSize=-1, ret=" + std::to_string(sizeof(kAnswer)));
  starvation.expect(Call::Read, {goesOn(kAll, {KelpTest::unreadObjectLine()}), goesOn(kAll, {noHeader, kNotReceived}),
                                 goesOn(hintLost, {noQuestionData, kNotReceived}),
                                 goesOn(questionLost, {noQuestionData, kNotReceived}),
                                 goesOn(answerLost, {noAnswerData, kNotReceived})});
  starvation.expect(Call::Sigaction, {goesOn(kAll)});
  starvation.expect(Call::Sigmask, {goesOn(kAll), goesOn(std::string(kAll) + ", SIGPIPE blocked")});
}

void expectOfLoop(KelpTest::Starvation& starvation) {
  starvation.expect(Call::Pipe2, {asserts("ExecObjectEventReceiver.cpp", 36, "false")});
  starvation.expect(Call::EpollCreate1,
                    {goesOn("no loop", {KelpTest::noPollerLine(), refusalLine(EBADF), notRemovedLine()})});
  starvation.expect(Call::EpollCtl,
                    {goesOn("no loop", {refusalLine(), notRemovedLine()}), goesOn("not added", {refusalLine()}),
                     asserts("TimerService.cpp", 208, "false"), goesOn(kAll, {notRemovedLine()})});
  starvation.expect(Call::EpollWait, {goesOn(kAll, KelpTest::failedWaitLines())});
  starvation.expect(Call::TimerfdCreate, {asserts("CyclicTimerEventReceiver.cpp", 39, "fd != -1")});
  starvation.expect(Call::TimerfdSettime, {asserts("CyclicTimerEventReceiver.cpp", 50, "-1 != ret")});
}

// A FIFO that an aborted process has left is used.
KelpTest::Starvation starvationOfARequest() {
  return KelpTest::Starvation({unblockSigpipe, liveWithARequest, nullptr}, {kNoFifo});
}

}  // namespace

TEST(RequestStarvationTest, EveryCallThatFailsEndsAsStated) {
  KelpTest::Starvation starvation = starvationOfARequest();
  expectOfDescriptors(starvation);
  expectOfMessages(starvation);
  expectOfLoop(starvation);
  starvation.failEachCall();
}

TEST(RequestStarvationTest, EveryCallThatFailsWithoutAReaderEndsAsStated) {
  KelpTest::Starvation starvation({nullptr, sendToNobody, nullptr});
  const char* const all = "14, pending as before";
  const LogLine noSender = bareLine("IpcSender.cpp", "IpcSender");
  starvation.expect(Call::Open, {goesOn(all, {notOpenLine(errorOf(Call::Open)), noSender})});
  starvation.expect(Call::Write, {goesOn(all)});
  starvation.expect(Call::Close, {goesOn(all, {KelpTest::failedCloseLine()})});
  starvation.expect(Call::Sigaction, {goesOn(all)});
  starvation.expect(Call::Sigtimedwait, {goesOn(all)});
  const Ending notPutBack = goesOn("14, not pending");
  starvation.expect(Call::Sigmask, {goesOn(all), notPutBack});
  starvation.expect(Call::Sigpending, {goesOn(all), notPutBack});
  starvation.expect(Call::Syscall, {notPutBack});
  starvation.failEachCall();
}

TEST(RequestStarvationTest, EveryNewThatFailsAbortsTheProcess) {
  KelpTest::Starvation starvation = starvationOfARequest();
  starvation.expectOfNothrowNew({goesOn("hint 0, question 0, asked 0, answered", {kNotReceived}),
                                 goesOn("hint 0, question 0, told, timeout", {kNotReceived}),
                                 goesOn("hint 0, question 0, told, asked 0, timeout", {kNotReceived})});
  starvation.failEachNew();
}
