// What the library asks of the heap, for bench/footprint: one line to each thing, its fields separated by tabs: what it
// is, how many blocks were asked for, what they take of the heap, and what of that was kept when the thing was done.
// Everything happens in one loop of one process, which sends to its own FIFO.
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Base64EncDec.h"
#include "EventLooperMultiWait.h"
#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "IpcAddressApi.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "TimerService.h"
#include "support/AllocationCount.h"
#include "support/PrivateNamespace.h"

namespace {

constexpr int kPayloadSize = 64;
constexpr int kTimeoutMs = 60'000;
constexpr int64_t kInterval = 3'600'000'000'000;  // nanoseconds: an hour
constexpr int kObjects = 1000;

// Lines are kept until the end, so that printing does not count.
class Table {
 public:
  Table() { m_lines.reserve(100); }

  template <typename Work>
  void add(const char* what, Work work) {
    const KelpTest::Allocations before = KelpTest::allocations();
    work();
    addSince(what, before);
  }

  void addSince(const char* what, const KelpTest::Allocations& before) {
    const KelpTest::Allocations after = KelpTest::allocations();
    const std::size_t bytes = after.bytes - before.bytes;
    const std::size_t released = after.releasedBytes - before.releasedBytes;
    m_lines.push_back(
        {what, after.blocks - before.blocks, bytes, static_cast<long>(bytes) - static_cast<long>(released)});
  }

  void print() const {
    for (const Line& line : m_lines) {
      printf("%s\t%zu\t%zu\t%ld\n", line.what, line.blocks, line.bytes, line.kept);
    }
  }

 private:
  struct Line {
    const char* what;
    std::size_t blocks;
    std::size_t bytes;
    long kept;  // below 0 where more is released than asked for
  };

  std::vector<Line> m_lines;
};

class Handler : public Kelp::IpcEventReceiver::OneWayRequestHandler,
                public Kelp::IpcEventReceiver::RequestHandler,
                public Kelp::IpcEventSender::ResponseHandler,
                public Kelp::TimerService::CyclicTimerObserver,
                public Kelp::TimerService::CyclicTimerByMinutesObserver {
 public:
  void handleOneWayRequest(Kelp::IpcAddress& /*source*/, Kelp::IpcDataOneWayRequest& /*data*/,
                           int /*dataSize*/) override {}
  void handleRequest(Kelp::IpcAddress& /*source*/, Kelp::IpcDataRequest& /*data*/, int /*dataSize*/,
                     Kelp::SessionId_t /*sessionId*/) override {}
  void handleResponse(Kelp::SessionId_t /*sessionId*/, Kelp::IpcAddress& /*source*/, Kelp::IpcDataResponse& /*data*/,
                      int /*dataSize*/) override {}
  void notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) override {}
  void notifyCyclicTimerByMinutes(Kelp::TimerId_t /*timerId*/, const struct timeval& /*now*/) override {}
};

class Task : public Kelp::ExecObject {
 public:
  explicit Task(std::function<void()> work) : m_work(std::move(work)) {}
  void doExecute() override { m_work(); }

 private:
  std::function<void()> m_work;
};

void require(bool isDone, const char* what) {
  if (!isDone) {
    fprintf(stderr, "AllocationTable: %s failed\n", what);
    exit(1);
  }
}

// Runs inside the loop.
class Measurement {
 public:
  explicit Measurement(Table& table) : m_table(table), m_text(kPayloadSize, 'x') {}

  void run(Kelp::EventLooperMultiWait& looper) {
    openFifo(looper);
    exchangeMessages();
    runTimers();
    buildObjects();
  }

  void closeFifo(Kelp::EventLooperMultiWait& looper) { looper.removeEventReceiver(*m_receiver); }

 private:
  template <typename Data>
  Data& payload() {
    return reinterpret_cast<Data&>(m_text[0]);
  }

  void openFifo(Kelp::EventLooperMultiWait& looper) {
    const Kelp::IpcAddressApi address(1);
    m_table.add("FIFO receiver, added to a loop", [&] {
      m_receiver.emplace(address);
      require(looper.addEventReceiver(*m_receiver), "addEventReceiver");
    });
    m_receiver->setOneWayRequestHandler(Kelp::IpcAddressType_Api, m_handler);
    m_receiver->setRequestHandler(Kelp::IpcAddressType_Api, m_handler);
    m_table.add("sender to a FIFO", [&] { m_sender.emplace(address, *m_receiver); });
  }

  void exchangeMessages() {
    sendOneWay(0);
    receive("message received, no payload");
    m_table.add("message sent, 64 B", [&] { sendOneWay(kPayloadSize); });
    receive("message received, 64 B");
    exchangeRequest("request sent, no time-out", "its response received", -1);
    exchangeRequest("request sent, with a time-out", "its response received, the time-out cancelled", kTimeoutMs);
  }

  void receive(const char* what) {
    m_table.add(what, [this] { m_receiver->receiveAndExecuteEvent(); });
  }

  void exchangeRequest(const char* request, const char* response, int timeout) {
    Kelp::SessionId_t sessionId = Kelp::INVALID_SESSION_ID;
    m_table.add(request, [&] {
      require(m_sender->sendRequest(payload<Kelp::IpcDataRequest>(), kPayloadSize, m_handler, sessionId, timeout) ==
                  Kelp::CommonReturnCode_Ok,
              "sendRequest");
    });
    m_receiver->receiveAndExecuteEvent();
    require(
        m_sender->sendResponse(sessionId, payload<Kelp::IpcDataResponse>(), kPayloadSize) == Kelp::CommonReturnCode_Ok,
        "sendResponse");
    receive(response);
  }

  void sendOneWay(int size) {
    require(m_sender->sendOneWayRequest(payload<Kelp::IpcDataOneWayRequest>(), size) == Kelp::CommonReturnCode_Ok,
            "sendOneWayRequest");
  }

  void runTimers() {
    Kelp::TimerService& service = Kelp::TimerService::getInstance();
    Kelp::TimerId_t cyclic = Kelp::INVALID_TIMER_ID;
    Kelp::TimerId_t byMinutes = Kelp::INVALID_TIMER_ID;
    m_table.add("timer", [&] { cyclic = service.startCyclicTimer(kInterval, m_handler, nullptr); });
    m_table.add("timer on whole minutes", [&] { byMinutes = service.startCyclicTimerByMinutes(m_handler, nullptr); });
    service.cancelTimer(cyclic);
    service.cancelTimer(byMinutes);
  }

  void buildObjects() {
    std::vector<std::optional<Kelp::Base64EncDec>> objects(kObjects);
    m_table.add("live object", [&] { objects[0].emplace(); });
    m_table.add("1000 live objects", [&] {
      for (auto& object : objects) {
        object.emplace();
      }
    });
  }

  Table& m_table;
  std::string m_text;
  Handler m_handler;
  std::optional<Kelp::IpcEventReceiver> m_receiver;
  std::optional<Kelp::IpcEventSender> m_sender;
};

void measure(Table& table) {
  std::optional<Kelp::EventLooperMultiWait> looper;
  table.add("loop", [&] { looper.emplace(); });
  Measurement measurement(table);
  KelpTest::Allocations beforeRun{};
  looper->getExecObjectEventSender().send(*new Task([&] {
    table.addSince("loop that runs", beforeRun);
    measurement.run(*looper);
    looper->exitEventLoop();
  }));
  beforeRun = KelpTest::allocations();
  looper->runEventLoop();
  measurement.closeFifo(*looper);
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  tzset();  // the C library keeps what it knows of the time zone: not the first timer's cost
  Table table;
  table.add("timer service", [] { Kelp::TimerService::createInstance(); });
  measure(table);
  Kelp::TimerService::destroyInstance();
  table.print();
}
