#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcData.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "IpcReceiver.h"
#include "SysFunc.h"
#include "differential/RandomValues.h"
#include "differential/Runs.h"
#include "support/RequestGenerators.h"

namespace KelpTest {

namespace {

constexpr uint32_t kMaxPayload = 4064;
constexpr int kFatalEvery = 40;  // a message that ends the process takes a process

std::string randomPayload(RandomSource& random) {
  const bool isLong = random.oneIn(10);
  return randomBytes(random, isLong ? kMaxPayload : 60);
}

template <typename Data>
Data& dataOf(std::string& payload) {
  return reinterpret_cast<Data&>(payload[0]);  // the terminating NUL, where it is empty
}

std::unique_ptr<Kelp::IpcAddress> randomAddress(RandomSource& random) {
  const int first = randomInt(random);
  const int second = randomInt(random);
  switch (random.below(3)) {
    case 0:
      return std::make_unique<Kelp::IpcAddressApp>(first, second);
    case 1:
      return std::make_unique<Kelp::IpcAddressApi>(first);
    default:
      return std::make_unique<Kelp::IpcAddressCore>();
  }
}

// Writes down what the handlers are told.
class Recorder : public Kelp::IpcEventReceiver::RequestHandler,
                 public Kelp::IpcEventReceiver::OneWayRequestHandler,
                 public Kelp::IpcEventSender::ResponseHandler {
 public:
  explicit Recorder(Transcript& transcript) : m_transcript(transcript) {}

  void handleRequest(Kelp::IpcAddress& source, Kelp::IpcDataRequest& data, int dataSize,
                     Kelp::SessionId_t sessionId) override {
    put("request", source, data, dataSize, sessionId);
  }
  void handleOneWayRequest(Kelp::IpcAddress& source, Kelp::IpcDataOneWayRequest& data, int dataSize) override {
    put("one-way request", source, data, dataSize, Kelp::INVALID_SESSION_ID);
  }
  void handleResponse(Kelp::SessionId_t sessionId, Kelp::IpcAddress& source, Kelp::IpcDataResponse& data,
                      int dataSize) override {
    put("response", source, data, dataSize, sessionId);
  }

 private:
  void put(const char* kind, const Kelp::IpcAddress& source, const Kelp::IpcData& data, int dataSize,
           Kelp::SessionId_t sessionId) {
    m_transcript.put("handled", kind);
    m_transcript.put("source", source.getFifoFilePath());
    m_transcript.put("type", source.getIpcAddressType());
    m_transcript.put("session", sessionId);
    m_transcript.put("payload",
                     std::string_view(reinterpret_cast<const char*>(&data), static_cast<std::size_t>(dataSize)));
    m_transcript.count(std::string(kind) + " handled");
  }

  Transcript& m_transcript;
};

// What waits in a FIFO, as bytes.
std::string drained(int fd) {
  int size = 0;
  ioctl(fd, FIONREAD, &size);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(0, read(fd, &bytes[0], bytes.size()))));
  return bytes;
}

class MessageRun {
 public:
  MessageRun(RandomSource& random, Transcript& transcript)
      : m_random(random), m_transcript(transcript), m_recorder(transcript), m_receiver(m_address) {
    for (const auto type : {Kelp::IpcAddressType_App, Kelp::IpcAddressType_Api, Kelp::IpcAddressType_Core}) {
      m_receiver.setRequestHandler(type, m_recorder);
      m_receiver.setOneWayRequestHandler(type, m_recorder);
    }
  }

  void run(int number) {
    m_transcript.begin("message", number);
    switch (m_random.below(3)) {
      case 0:
        sendAndLook();
        break;
      case 1:
        receiveBytes();
        break;
      default:
        exchangeRequest();
        break;
    }
    drained(fifo());
    if (number % kFatalEvery == 0) {
      receiveFatalBytes();
    }
    m_transcript.putLog();
  }

 private:
  int fifo() { return m_receiver.getFd(); }

  void writeBytes(const std::string& bytes) {
    m_transcript.put("given", bytes);
    m_transcript.put("bytes given", write(fifo(), bytes.data(), bytes.size()));
  }

  // Through a sender of the library, looked at with plain system calls.
  void sendAndLook() {
    const std::unique_ptr<Kelp::IpcAddress> source = randomAddress(m_random);
    const Kelp::SessionId_t sessionId = m_random.word();
    std::string payload = randomPayload(m_random);
    const auto size = static_cast<int>(payload.size());
    Kelp::IpcEventSender sender(m_address, *source);
    switch (m_random.below(3)) {
      case 0:
        m_transcript.put("sendOneWayRequest",
                         sender.sendOneWayRequest(dataOf<Kelp::IpcDataOneWayRequest>(payload), size));
        break;
      case 1:
        m_transcript.put("sendResponse", sender.sendResponse(sessionId, dataOf<Kelp::IpcDataResponse>(payload), size));
        break;
      default:
        m_transcript.put("sendResponseError", sender.sendResponseError(sessionId));
        break;
    }
    m_transcript.put("on the wire", drained(fifo()));
    m_transcript.count("message looked at");
  }

  // Any header that does not end the process, whatever its data size says. The payload may be longer than that, and is
  // then read as the next message; never shorter, because the receiver would wait for the rest.
  void receiveBytes() {
    const std::string kind = word(m_random.below(3));
    const std::string session = word(m_random.word());
    const std::string type = word(m_random.below(3));
    const std::string first = word(m_random.word());
    const std::string second = word(m_random.word());
    const std::string reserved = randomWords();
    const std::string payload = randomPayload(m_random);
    const std::vector<uint32_t> badSizes = {0xFFFFFFFF, 0x80000000, 0x7FFFFFFF, kMaxPayload + 1, 0x10000};
    const bool isBad = m_random.oneIn(4);
    const uint32_t badSize = m_random.oneOf(badSizes);
    const std::string size = word(isBad ? badSize : static_cast<uint32_t>(payload.size()));
    writeBytes(kind + session + type + first + second + size + reserved + payload);
    m_receiver.receiveAndExecuteEvent();
    m_transcript.count(isBad ? "bad size received" : "bytes received");
  }

  std::string randomWords() {
    const std::string first = word(m_random.word());
    return first + word(m_random.word());
  }

  // A session: the request comes back to the same process, which answers it, perhaps twice, or never.
  void exchangeRequest() {
    std::string payload = randomPayload(m_random);
    const auto size = static_cast<int>(payload.size());
    Kelp::IpcEventSender sender(m_address, m_receiver);
    Kelp::SessionId_t sessionId = 0;
    m_transcript.put("sendRequest",
                     sender.sendRequest(dataOf<Kelp::IpcDataRequest>(payload), size, m_recorder, sessionId, -1));
    m_transcript.put("session", sessionId);
    m_receiver.receiveAndExecuteEvent();
    for (uint32_t count = m_random.below(3); count > 0; --count) {
      m_transcript.put("sendResponse", sender.sendResponse(sessionId, dataOf<Kelp::IpcDataResponse>(payload), size));
      m_receiver.receiveAndExecuteEvent();
    }
  }

  // Unknown kinds and sources end the process: another one's, here.
  void receiveFatalBytes() {
    const bool isKind = m_random.oneIn(2);
    const uint32_t beyond = 3 + m_random.below(3);
    const std::string bytes = word(isKind ? beyond : 0) + word(1) + word(isKind ? 0 : beyond) + word(2) + word(3) +
                              word(0) + word(0) + word(0);
    writeBytes(bytes);
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      receiveAndExit();
    }
    int status = 0;
    waitpid(child, &status, 0);
    m_transcript.put("ended by signal", WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    m_transcript.count(WIFSIGNALED(status) ? "process ended" : "process not ended");
  }

  // What the assertion says goes nowhere: it names the program.
  [[noreturn]] void receiveAndExit() {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    m_receiver.receiveAndExecuteEvent();
    _exit(0);
  }

  RandomSource& m_random;
  Transcript& m_transcript;
  Recorder m_recorder;
  const Kelp::IpcAddressCore m_address;
  Kelp::IpcEventReceiver m_receiver;
};

// How many messages a FIFO takes that nobody reads.
void fillFifo(Transcript& transcript) {
  const Kelp::IpcAddressApi address(1);
  Kelp::IpcReceiver receiver(address.getFifoFilePath());
  Kelp::IpcEventSender sender(address, address);
  std::string payload(1000, 'x');
  int sent = 0;
  while (sender.sendOneWayRequest(dataOf<Kelp::IpcDataOneWayRequest>(payload), 1000) == Kelp::CommonReturnCode_Ok) {
    sent++;
  }
  transcript.put("messages in a full FIFO", sent);
  transcript.put("bytes in it", static_cast<long long>(drained(receiver.getFd()).size()));
  transcript.putLog();
}

}  // namespace

void runMessages(RandomSource& random, Transcript& transcript, int count) {
  MessageRun run(random, transcript);
  for (int i = 0; i < count; ++i) {
    run.run(i);
  }
  fillFifo(transcript);
}

}  // namespace KelpTest
