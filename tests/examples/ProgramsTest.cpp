// The example programs, run as a platform would run them. ../../demo plays the same over HTTP; here is what it cannot
// easily provoke.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "FilePathManager.h"
#include "KelpReturnCode.h"
#include "common/Record.h"
#include "common/StaleFifo.h"
#include "examples/ExamplePrograms.h"
#include "support/Emulator.h"
#include "support/PrivateNamespace.h"

namespace KelpTest {
namespace {

using Kelp::FilePathManager;
using KelpExample::Record;

constexpr char kClockList[] = "methodName=getApplicationList";
constexpr char kStartClock[] = "methodName=startApplication&installId=00000001";

std::string inMessage(const Record& record) {
  const uint32_t form = 1;
  return std::string(reinterpret_cast<const char*>(&form), sizeof(form)) + record.encode();
}

// -1 when the payload is no answer.
int returnCodeOf(const std::string& payload) {
  Record record;
  int code = -1;
  if (payload.size() >= 4 && Record::decode(payload.data() + 4, payload.size() - 4, record)) {
    record.getNumber("returnCode", code);
  }
  return code;
}

int processIdOf(const std::string& answer) {
  const char kKey[] = "\"processId\":\"";
  const size_t at = answer.find(kKey);
  return at == std::string::npos ? -1 : static_cast<int>(strtol(answer.c_str() + at + sizeof(kKey) - 1, nullptr, 10));
}

bool isClockRunning() {
  return has(callApi(kClockList).body, "\"status\":\"running\"");
}

// Fills a FIFO that somebody reads until it takes no more.
void fillFifo(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  const std::vector<char> zeros(4096);
  while (write(fd, zeros.data(), zeros.size()) > 0) {
  }
  close(fd);
}

class Stopwatch {
 public:
  double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count(); }

 private:
  const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

class ProgramsTest : public ExamplesTest {};

TEST_F(ProgramsTest, TheCoreEndsCleanlyOnSigterm) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kStartClock).httpStatus);
  EXPECT_TRUE(waitUntil(isClockRunning));
  endCore(core);
}

TEST_F(ProgramsTest, TheCoreNeedNotInheritThatChildrensEndsAreTold) {
  const auto previous = signal(SIGCHLD, SIG_IGN);
  CoreProcess core;
  signal(SIGCHLD, previous);
  EXPECT_EQ(200, callApi(kStartClock).httpStatus);
  EXPECT_TRUE(waitUntil(isClockRunning));
  EXPECT_EQ(200, callApi("methodName=stopApplication&execId=1").httpStatus);
  endCore(core);
}

TEST_F(ProgramsTest, TheCoreRemovesAStaleFifoWithTheMessagesInIt) {
  ASSERT_EQ(0, mkfifo(m_coreFifo.c_str(), 0666));
  const int fd = open(m_coreFifo.c_str(), O_RDWR | O_CLOEXEC);
  fillFifo(m_coreFifo);
  close(fd);
  CoreProcess core;
  EXPECT_EQ(200, callApi(kClockList).httpStatus);
  endCore(core);
}

TEST_F(ProgramsTest, ASecondCoreLeavesTheFirstAlone) {
  CoreProcess core;
  CoreProcess second(CoreProcess::Start::Fails);
  EXPECT_EQ(1, WEXITSTATUS(second.waitForEnd()));
  EXPECT_EQ(200, callApi(kClockList).httpStatus);
  endCore(core);
}

TEST_F(ProgramsTest, ACoreThatCannotHaveItsFifoSaysSoAndEnds) {
  std::filesystem::remove(FilePathManager::getCoreTmpPath());
  std::ofstream(FilePathManager::getCoreTmpPath()) << "in the way";
  EXPECT_EQ(1, WEXITSTATUS(CoreProcess(CoreProcess::Start::Fails).waitForEnd()));
}

// Names of files in it can be told beforehand: whoever may write to it could put links there.
TEST_F(ProgramsTest, ADirectoryThatOthersMayWriteToIsRefused) {
  const std::string directory = FilePathManager::getCoreTmpPath();
  for (const mode_t mode : {0777u, 01777u}) {
    ASSERT_EQ(0, chmod(directory.c_str(), mode));
    EXPECT_EQ(1, WEXITSTATUS(CoreProcess(CoreProcess::Start::Fails).waitForEnd()));
    EXPECT_EQ(500, callApi(kClockList).httpStatus);
  }
  EXPECT_EQ(std::vector<std::string>(), filesIn(directory));
}

TEST_F(ProgramsTest, ADirectoryOfAnotherUserIsRefused) {
  if (!isRealRoot()) {
    GTEST_SKIP() << "only root can give files away";
  }
  const std::string directory = FilePathManager::getCoreTmpPath();
  ASSERT_EQ(0, chown(directory.c_str(), 4242, 4242));
  EXPECT_EQ(1, WEXITSTATUS(CoreProcess(CoreProcess::Start::Fails).waitForEnd()));
  EXPECT_EQ(500, callApi(kClockList).httpStatus);
  EXPECT_EQ(std::vector<std::string>(), filesIn(directory));
}

TEST_F(ProgramsTest, ALinkToADirectoryIsRefused) {
  const std::string directory = FilePathManager::getCoreTmpPath();
  ASSERT_EQ(0, rename(directory.c_str(), (directory + ".elsewhere").c_str()));
  ASSERT_EQ(0, symlink((directory + ".elsewhere").c_str(), directory.c_str()));
  EXPECT_EQ(1, WEXITSTATUS(CoreProcess(CoreProcess::Start::Fails).waitForEnd()));
  EXPECT_EQ(500, callApi(kClockList).httpStatus);
  ASSERT_EQ(0, unlink(directory.c_str()));
}

TEST_F(ProgramsTest, AnUnexpectedRequestGetsAnErrorAnswer) {
  CoreProcess core;
  {
    const ForeignPeer application(Kelp::IpcAddressType_App, 7, 8, FilePathManager::getAppFifoPath(7, 8));
    application.send(m_coreFifo, Kelp::IpcMessageKind_Request, 5, "anything");
    Kelp::IpcHeader header;
    std::string payload;
    ASSERT_TRUE(application.receive(header, payload));
    EXPECT_EQ(Kelp::IpcMessageKind_Response, header.kind);
    EXPECT_EQ(5u, header.sessionId);
    EXPECT_EQ(Kelp::CommonReturnCode_NotSupported, returnCodeOf(payload));
  }
  endCore(core);
}

TEST_F(ProgramsTest, MessagesThatNobodyExpectsDoNotEndTheCore) {
  CoreProcess core;
  {
    const ForeignPeer client(Kelp::IpcAddressType_Api, 77, 0, FilePathManager::getApiFifoPath(77));
    const ForeignPeer stranger(Kelp::IpcAddressType_App, 99, 1, FilePathManager::getAppFifoPath(99, 1));
    const ForeignPeer otherCore(Kelp::IpcAddressType_Core, 0, 0, "/tmp/Kelp/unused");
    for (const std::string& payload : {std::string(), std::string("x"), std::string(4064, '\xFF')}) {
      client.send(m_coreFifo, Kelp::IpcMessageKind_OneWayRequest, 0xFFFFFFFF, payload);
      stranger.send(m_coreFifo, Kelp::IpcMessageKind_OneWayRequest, 0xFFFFFFFF, payload);
      stranger.send(m_coreFifo, Kelp::IpcMessageKind_Response, 3, payload);
      otherCore.send(m_coreFifo, Kelp::IpcMessageKind_OneWayRequest, 0xFFFFFFFF, payload);
      otherCore.send(m_coreFifo, Kelp::IpcMessageKind_Request, 9, payload);
    }
    EXPECT_EQ(200, callApi(kClockList).httpStatus);
  }
  endCore(core);
}

TEST_F(ProgramsTest, AMalformedPayloadGetsAnErrorAnswer) {
  CoreProcess core;
  {
    const ForeignPeer client(Kelp::IpcAddressType_Api, 77, 0, FilePathManager::getApiFifoPath(77));
    Record unknownMethod;
    unknownMethod.putString("methodName", "makeCoffee");
    Record noArguments;
    noArguments.putString("methodName", "setPreference");
    noArguments.putHexadecimal("installId", 1);
    Record wrongKind;
    wrongKind.putDecimal("methodName", 1);
    const std::pair<std::string, int> cases[] = {
        {"", Kelp::CommonReturnCode_InvalidProtocol},
        {"abc", Kelp::CommonReturnCode_InvalidProtocol},
        {std::string(4064, '\xFF'), Kelp::CommonReturnCode_InvalidProtocol},
        {inMessage(unknownMethod).substr(0, 30), Kelp::CommonReturnCode_InvalidProtocol},
        {inMessage(unknownMethod), Kelp::CommonReturnCode_InvalidMethod},
        {inMessage(wrongKind), Kelp::CommonReturnCode_InvalidMethod},
        {inMessage(Record()), Kelp::CommonReturnCode_InvalidMethod},
        {inMessage(noArguments), Kelp::CommonReturnCode_InvalidProtocol},
    };
    Kelp::SessionId_t sessionId = 100;
    for (const auto& [sent, code] : cases) {
      client.send(m_coreFifo, Kelp::IpcMessageKind_Request, ++sessionId, sent);
      Kelp::IpcHeader header;
      std::string payload;
      ASSERT_TRUE(client.receive(header, payload));
      EXPECT_EQ(sessionId, header.sessionId);
      EXPECT_EQ(code, returnCodeOf(payload)) << sessionId;
    }
  }
  endCore(core);
}

TEST_F(ProgramsTest, ACoreThatIsNotRunningIsAFault) {
  const Stopwatch stopwatch;
  const ClientReply reply = callApi(kClockList);
  EXPECT_EQ(503, reply.httpStatus);
  EXPECT_EQ(R"({"faultCode":"14","faultString":"File Access Error","faultDetail":"the core is not running"})",
            reply.body);
  EXPECT_LT(stopwatch.seconds(), 5.0);
  EXPECT_EQ(std::vector<std::string>(), filesIn(FilePathManager::getCoreTmpPath()));
}

TEST_F(ProgramsTest, ADirectoryThatIsMissingIsNoHindrance) {
  ASSERT_EQ(0, rmdir(FilePathManager::getCoreTmpPath().c_str()));
  EXPECT_EQ(503, callApi(kClockList).httpStatus);
  ASSERT_EQ(0, rmdir(FilePathManager::getCoreTmpPath().c_str()));
  CoreProcess core;
  EXPECT_EQ(200, callApi(kClockList).httpStatus);
  endCore(core);
}

TEST_F(ProgramsTest, AFullFifoIsAFault) {
  CoreProcess core;
  core.stop();
  fillFifo(m_coreFifo);
  const Stopwatch stopwatch;
  const ClientReply reply = callApi(kClockList);
  EXPECT_EQ(503, reply.httpStatus);
  EXPECT_EQ(R"({"faultCode":"14","faultString":"File Access Error","faultDetail":"the core is busy"})", reply.body);
  EXPECT_LT(stopwatch.seconds(), 5.0);
  core.sendSignal(SIGCONT);
  endCore(core);
}

TEST_F(ProgramsTest, AFifoThatIsFullForAMomentIsNone) {
  CoreProcess core;
  core.stop();
  fillFifo(m_coreFifo);
  const std::string body = kClockList;
  ClientProcess client(body, {"REQUEST_METHOD=POST", "CONTENT_LENGTH=" + std::to_string(body.size())});
  EXPECT_TRUE(waitUntil([] { return filesIn(FilePathManager::getCoreTmpPath()).size() > 1; }));  // it waits for answers
  core.sendSignal(SIGCONT);
  EXPECT_EQ(200, client.waitForReply().httpStatus);
  endCore(core);
}

TEST_F(ProgramsTest, ACoreThatDoesNotAnswerInTimeIsAFault) {
  CoreProcess core;
  core.stop();
  const Stopwatch stopwatch;
  const ClientReply reply = callApi(kClockList);
  EXPECT_EQ(504, reply.httpStatus);
  EXPECT_EQ(R"({"faultCode":"15","faultString":"I\/O error","faultDetail":"the core did not answer in time"})",
            reply.body);
  EXPECT_GT(stopwatch.seconds(), 4.9);
  EXPECT_LT(stopwatch.seconds(), 15.0);
  core.sendSignal(SIGCONT);
  endCore(core);
}

TEST_F(ProgramsTest, ALargeRequestAndItsLateAnswerLeaveNoFileBehind) {
  CoreProcess core;
  core.stop();
  const std::string body = "methodName=setPreference&installId=00000001&prefName=picture&prefType=Binary&prefValue=" +
                           std::string(20000, 'A');
  EXPECT_EQ(504, callApi(body).httpStatus);
  EXPECT_EQ(std::vector<std::string>({"fifocore"}), filesIn(FilePathManager::getCoreTmpPath()));
  core.sendSignal(SIGCONT);
  EXPECT_EQ(200, callApi(kClockList).httpStatus);  // the late request has been dealt with before
  EXPECT_FALSE(has(contentOf(m_clockPrefs), "AAAA"));
  endCore(core);
}

TEST_F(ProgramsTest, LargePayloadsTravelBothWays) {
  CoreProcess core;
  const std::string picture(40000, 'A');
  const ClientReply set =
      callApi("methodName=setPreference&installId=00000001&prefName=picture&prefType=Binary&prefValue=" + picture);
  EXPECT_EQ(200, set.httpStatus) << set.body;
  EXPECT_TRUE(has(contentOf(m_clockPrefs), picture));
  const ClientReply got = callApi("methodName=getPreferences&installId=00000001");
  EXPECT_EQ(200, got.httpStatus);
  EXPECT_TRUE(has(got.body, picture));
  EXPECT_EQ(std::vector<std::string>({"fifocore"}), filesIn(FilePathManager::getCoreTmpPath()));
  endCore(core);
}

TEST_F(ProgramsTest, AnAnswerThatMakesNoSenseIsAFault) {
  const ForeignPeer core(Kelp::IpcAddressType_Core, 0, 0, m_coreFifo);
  Record unknownCode;
  unknownCode.putDecimal("returnCode", 6);
  Record unpaired = unknownCode;
  unpaired.endStruct();
  for (const std::string& answer : {std::string(), std::string("abc"), inMessage(Record()), inMessage(unknownCode),
                                    inMessage(unpaired), std::string(4064, '\xFF')}) {
    const std::string body = kClockList;
    ClientProcess client(body, {"REQUEST_METHOD=POST", "CONTENT_LENGTH=" + std::to_string(body.size())});
    Kelp::IpcHeader header;
    std::string request;
    ASSERT_TRUE(core.receive(header, request));
    const std::string clientFifo = FilePathManager::getApiFifoPath(header.srcSpecificId.api.pid);
    core.send(clientFifo, Kelp::IpcMessageKind_Request, 1, "a question");  // is none of a client's business
    core.send(clientFifo, Kelp::IpcMessageKind_Response, header.sessionId, answer);
    const ClientReply reply = client.waitForReply();
    EXPECT_EQ(502, reply.httpStatus);
    EXPECT_TRUE(has(reply.body, R"("faultCode":"18","faultString":"Internal Error")"));
    ASSERT_TRUE(core.receive(header, request));  // that question's answer
    EXPECT_EQ(Kelp::CommonReturnCode_NotSupported, returnCodeOf(request));
  }
}

TEST_F(ProgramsTest, RequestsThatAreNoFormAreFaults) {
  const std::string kPost = "REQUEST_METHOD=POST";
  const struct {
    std::string input;
    std::vector<std::string> variables;
    int httpStatus;
  } cases[] = {
      {"", {"REQUEST_METHOD=GET"}, 405},
      {"", {}, 405},
      {"", {kPost}, 411},
      {"", {kPost, "CONTENT_LENGTH=x"}, 400},
      {"", {kPost, "CONTENT_LENGTH=-1"}, 400},
      {"", {kPost, "CONTENT_LENGTH=1048577"}, 413},
      {"", {kPost, "CONTENT_LENGTH=99999999999999999999999"}, 413},
      {"", {kPost, "CONTENT_LENGTH=0"}, 400},
      {"methodName=", {kPost, "CONTENT_LENGTH=30"}, 400},
      {"a", {kPost, "CONTENT_LENGTH=1", "CONTENT_TYPE=text/plain"}, 415},
      {"a", {kPost, "CONTENT_LENGTH=1", "CONTENT_TYPE=multipart/form-data-of-a-kind"}, 415},
      {"a", {kPost, "CONTENT_LENGTH=1", "CONTENT_TYPE=Multipart/Form-Data; boundary=x"}, 400},
      {"", {kPost, "CONTENT_LENGTH=16777217", "CONTENT_TYPE=multipart/form-data; boundary=x"}, 413},
      {"methodName=nothing", {kPost, "CONTENT_LENGTH=18"}, 404},
      {"methodName=stopApplication", {kPost, "CONTENT_LENGTH=26"}, 400},
  };
  for (const auto& [input, variables, httpStatus] : cases) {
    const ClientReply reply = ClientProcess(input, variables).waitForReply();
    EXPECT_EQ(0, reply.exitStatus);
    EXPECT_EQ(httpStatus, reply.httpStatus) << input << " " << testing::PrintToString(variables);
    EXPECT_TRUE(has(reply.body, "{\"faultCode\":\"")) << reply.body;
    EXPECT_TRUE(has(reply.body, "\"faultString\":\""));
  }
  EXPECT_EQ(std::vector<std::string>(), filesIn(FilePathManager::getCoreTmpPath()));
}

TEST_F(ProgramsTest, AClientWithoutPlaceForItsFilesStillAnswers) {
  std::filesystem::remove(FilePathManager::getCoreTmpPath());
  std::ofstream(FilePathManager::getCoreTmpPath()) << "in the way";
  const ClientReply reply = callApi(kClockList);
  EXPECT_EQ(500, reply.httpStatus);
  EXPECT_TRUE(has(reply.body, "{\"faultCode\":\"14\",\"faultString\":\"File Access Error\""));
}

TEST_F(ProgramsTest, ACallerThatHangsUpLeavesNothingBehind) {
  CoreProcess core;
  core.stop();
  const std::string body = kClockList;
  ClientProcess client(body, {"REQUEST_METHOD=POST", "CONTENT_LENGTH=" + std::to_string(body.size())});
  client.hangUp();
  core.sendSignal(SIGCONT);
  EXPECT_EQ(1, WEXITSTATUS(client.waitForReply().exitStatus));
  endCore(core);
}

TEST_F(ProgramsTest, TwentyCallsAtOnceEachGetTheirOwnAnswer) {
  CoreProcess core;
  std::vector<std::unique_ptr<ClientProcess>> clients;
  for (int i = 0; i < 20; ++i) {
    const std::string body = "methodName=getPreferences&installId=0000000" + std::to_string(1 + i % 2) +
                             "&callback=" + std::to_string(7000 + i);
    clients.push_back(std::make_unique<ClientProcess>(
        body, std::vector<std::string>{"REQUEST_METHOD=POST", "CONTENT_LENGTH=" + std::to_string(body.size())}));
  }
  for (int i = 0; i < 20; ++i) {
    const ClientReply reply = clients[static_cast<size_t>(i)]->waitForReply();
    EXPECT_EQ(200, reply.httpStatus);
    EXPECT_TRUE(has(reply.body, "\"callback\":\"" + std::to_string(7000 + i) + "\"")) << reply.body;
    EXPECT_TRUE(has(reply.body, "\"funcId\":\"0000A00" + std::to_string(1 + i % 2) + "\""));
  }
  endCore(core);
}

TEST_F(ProgramsTest, AnApplicationThatCrashesIsReaped) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kStartClock).httpStatus);
  EXPECT_TRUE(waitUntil(isClockRunning));
  signalProcess(processIdOf(callApi(kClockList).body), SIGKILL);
  EXPECT_TRUE(waitUntil([] { return !has(callApi(kClockList).body, "processId"); }));
  EXPECT_EQ(std::vector<std::string>({"fifocore"}), filesIn(FilePathManager::getCoreTmpPath()));
  endCore(core);
}

TEST_F(ProgramsTest, AnApplicationThatDoesNotStopIsKilled) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kStartClock).httpStatus);
  EXPECT_TRUE(waitUntil(isClockRunning));
  signalProcess(processIdOf(callApi(kClockList).body), SIGSTOP);
  const ClientReply reply = callApi("methodName=stopApplication&execId=1");
  EXPECT_EQ(R"({"returnCode":"0","execId":"1","exitStatus":"137"})", reply.body);
  endCore(core);
}

TEST_F(ProgramsTest, AnApplicationEndsOnSigterm) {
  CoreProcess core;
  EXPECT_EQ(200, callApi(kStartClock).httpStatus);
  EXPECT_TRUE(waitUntil(isClockRunning));
  signalProcess(processIdOf(callApi(kClockList).body), SIGTERM);
  EXPECT_TRUE(waitUntil([] { return !has(callApi(kClockList).body, "processId"); }));
  endCore(core);
}

TEST_F(ProgramsTest, AnApplicationEndsWithACoreThatCrashes) {
  auto core = std::make_unique<CoreProcess>();
  EXPECT_EQ(200, callApi(kStartClock).httpStatus);
  EXPECT_TRUE(waitUntil(isClockRunning));
  core.reset();
  EXPECT_TRUE(waitUntil([] { return filesIn(FilePathManager::getCoreTmpPath()).size() == 1; }));  // the core's FIFO
}

TEST_F(ProgramsTest, AnApplicationWhoseCoreHasGoneBeforeItRunsEndsAtOnce) {
  if (isEmulated()) {
    GTEST_SKIP() << "a process cannot adopt orphans here, and would not know of the application's end";
  }
  OrphanedApplication application;
  EXPECT_TRUE(waitUntil([&] { return application.hasEnded(); }));
  EXPECT_EQ(1, WEXITSTATUS(application.waitStatus()));
  EXPECT_EQ(std::vector<std::string>(), filesIn(FilePathManager::getCoreTmpPath()));
}

TEST_F(ProgramsTest, AnApplicationWhoseProgramIsMissingIsAFault) {
  if (isEmulated()) {
    GTEST_SKIP() << "posix_spawn() does not tell of it here: its child cannot write to its parent's memory";
  }
  ASSERT_EQ(0, unlink((FilePathManager::getAppBinPath("clock") + "/application").c_str()));
  CoreProcess core;
  const ClientReply reply = callApi(kStartClock);
  EXPECT_EQ(500, reply.httpStatus);
  EXPECT_EQ(R"({"faultCode":"17","faultString":"Application Start Error"})", reply.body);
  endCore(core);
}

TEST_F(ProgramsTest, BrokenPreferencesAreAFault) {
  std::ofstream(m_clockPrefs) << "{";
  CoreProcess core;
  EXPECT_EQ(409, callApi("methodName=getPreferences&installId=00000001").httpStatus);
  EXPECT_EQ(409,
            callApi("methodName=setPreference&installId=00000001&prefName=a&prefType=String&prefValue=b").httpStatus);
  EXPECT_EQ(409, callApi("methodName=initAllData").httpStatus);
  EXPECT_EQ("{", contentOf(m_clockPrefs));
  endCore(core);
}

TEST_F(ProgramsTest, APreferenceThatCannotBeSavedKeepsItsValue) {
  CoreProcess core;
  ASSERT_EQ(0, mkdir((m_clockPrefs + "~").c_str(), 0755));  // where the new file would be written
  const ClientReply reply =
      callApi("methodName=setPreference&installId=00000001&prefName=label&prefType=String&prefValue=lost");
  EXPECT_EQ(500, reply.httpStatus);
  EXPECT_EQ(R"({"faultCode":"15","faultString":"I\/O error"})", reply.body);
  EXPECT_TRUE(has(callApi("methodName=getPreferences&installId=00000001").body, R"("prefValue":"It is")"));
  endCore(core);
}

TEST_F(ProgramsTest, InitAllDataResetsEveryApplication) {
  const std::string radioPrefs = FilePathManager::getAppPrefsFilePath("radio");
  const std::string shippedClock = contentOf(m_clockPrefs);
  const std::string shippedRadio = contentOf(radioPrefs);
  CoreProcess core;
  for (const char* installId : {"00000001", "00000002"}) {
    EXPECT_EQ(200, callApi(std::string("methodName=setPreference&installId=") + installId +
                           "&prefName=interval&prefType=Integer&prefValue=77")
                       .httpStatus);
  }
  EXPECT_NE(shippedClock, contentOf(m_clockPrefs));
  EXPECT_NE(shippedRadio, contentOf(radioPrefs));
  EXPECT_EQ(200, callApi("methodName=initAllData").httpStatus);
  EXPECT_EQ(shippedClock, contentOf(m_clockPrefs));
  EXPECT_EQ(shippedRadio, contentOf(radioPrefs));
  endCore(core);
}

}  // namespace
}  // namespace KelpTest
