// A request and its response through the loops of two processes, beside epoll_wait, two reads and one write each way.
#include <signal.h>
#include <stdlib.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "EventLooperMultiWait.h"
#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "IpcAddressApi.h"
#include "IpcAddressCore.h"
#include "IpcData.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "TimerService.h"
#include "support/ChildProcess.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/EpollLoop.h"
#include "support/Fifo.h"
#include "support/PrivateNamespace.h"

using namespace KelpBench;

namespace {

constexpr int kRoundTrips = 20000;
constexpr int kTimeoutMs = 5000;
constexpr char kServerFifo[] = "/tmp/Kelp/fifoplainserver";
constexpr char kClientFifo[] = "/tmp/Kelp/fifoplainclient";

// Frugal: senders are kept and requests have no time-out. Careful: each answer builds its sender, each request has a
// time-out timer.
enum class Style { Frugal, Careful };

std::vector<char> s_payload(kMaxMessageSize - kHeaderSize, 'x');

template <typename Data>
Data& payloadAs() {
  return reinterpret_cast<Data&>(s_payload[0]);
}

// --- Kelp

class KelpServer : public Kelp::IpcEventReceiver::RequestHandler {
 public:
  KelpServer(Style style, const ChildProcess::Link& client) : m_style(style), m_receiver(m_address) {
    m_receiver.setRequestHandler(Kelp::IpcAddressType_Api, *this);
    m_looper.addEventReceiver(m_receiver);
    client.signal();
  }

  void run() {
    m_looper.runEventLoop();
    m_looper.removeEventReceiver(m_receiver);
  }

  void handleRequest(Kelp::IpcAddress& source, Kelp::IpcDataRequest& /*data*/, int dataSize,
                     Kelp::SessionId_t sessionId) override {
    if (dataSize == 0) {
      m_looper.exitEventLoop();
      return;
    }
    if (m_style == Style::Careful) {
      Kelp::IpcEventSender sender(source, m_address);
      answer(sender, sessionId, dataSize);
      return;
    }
    if (m_keptSender == nullptr) {
      m_keptSender = std::make_unique<Kelp::IpcEventSender>(source, m_address);
    }
    answer(*m_keptSender, sessionId, dataSize);
  }

 private:
  static void answer(Kelp::IpcEventSender& sender, Kelp::SessionId_t sessionId, int dataSize) {
    require(sender.sendResponse(sessionId, payloadAs<Kelp::IpcDataResponse>(), dataSize) == Kelp::CommonReturnCode_Ok,
            "sendResponse");
  }

  const Style m_style;
  Kelp::IpcAddressCore m_address;
  Kelp::EventLooperMultiWait m_looper;
  Kelp::IpcEventReceiver m_receiver;
  std::unique_ptr<Kelp::IpcEventSender> m_keptSender;
};

class KelpClient : public Kelp::IpcEventSender::ResponseHandler {
 public:
  KelpClient(Style style, int dataSize)
      : m_timeout(style == Style::Careful ? kTimeoutMs : -1),
        m_dataSize(dataSize),
        m_receiver(Kelp::IpcAddressApi(getpid())),
        m_sender(Kelp::IpcAddressCore(), m_receiver) {
    m_looper.addEventReceiver(m_receiver);
    m_latencies.reserve(kRoundTrips);
  }

  double run() {
    m_looper.getExecObjectEventSender().send(*new Start(*this));
    m_looper.runEventLoop();
    m_looper.removeEventReceiver(m_receiver);
    return median(m_latencies);
  }

  void handleResponse(Kelp::SessionId_t /*sessionId*/, Kelp::IpcAddress& /*source*/, Kelp::IpcDataResponse& /*data*/,
                      int dataSize) override {
    m_latencies.push_back(static_cast<double>(monotonicNanoseconds() - m_start));
    require(dataSize == m_dataSize, "response");
    if (m_latencies.size() < kRoundTrips) {
      request();
      return;
    }
    Kelp::SessionId_t sessionId = 0;
    m_sender.sendRequest(payloadAs<Kelp::IpcDataRequest>(), 0, *this, sessionId, -1);  // ends the server
    m_looper.exitEventLoop();
  }

  void handleTimeoutError(Kelp::SessionId_t /*sessionId*/) override { require(false, "answer in time"); }

 private:
  // Requests with a time-out are sent from the loop's thread, while it runs.
  class Start : public Kelp::ExecObject {
   public:
    explicit Start(KelpClient& client) : m_client(client) {}
    void doExecute() override { m_client.request(); }

   private:
    KelpClient& m_client;
  };

  void request() {
    m_start = monotonicNanoseconds();
    Kelp::SessionId_t sessionId = 0;
    require(m_sender.sendRequest(payloadAs<Kelp::IpcDataRequest>(), m_dataSize, *this, sessionId, m_timeout) ==
                Kelp::CommonReturnCode_Ok,
            "sendRequest");
  }

  const int m_timeout;
  const int m_dataSize;
  Kelp::EventLooperMultiWait m_looper;
  Kelp::IpcEventReceiver m_receiver;
  Kelp::IpcEventSender m_sender;
  int64_t m_start = 0;
  std::vector<double> m_latencies;
};

double kelpRoundTrip(Style style, int dataSize) {
  const ChildProcess server([style](const ChildProcess::Link& client) { KelpServer(style, client).run(); });
  server.link().wait();
  return KelpClient(style, dataSize).run();
}

// --- The floor

void runPlainServer(Style style, const ChildProcess::Link& client) {
  FifoReader reader(kServerFifo);
  client.signal();
  client.wait();
  std::unique_ptr<FifoWriter> keptWriter = std::make_unique<FifoWriter>(kClientFifo);
  EpollLoop loop;
  loop.add(reader.fd());
  loop.run([&](int) {
    reader.receive();
    if (reader.header().dataSize == 0) {
      return false;
    }
    if (style == Style::Careful) {
      FifoWriter(kClientFifo).send(reader.header(), s_payload.data());
    } else {
      keptWriter->send(reader.header(), s_payload.data());
    }
    return true;
  });
}

int startTimer(EpollLoop& loop) {
  const int fd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  require(fd != -1, "timerfd_create");
  const timespec interval{kTimeoutMs / 1000, kTimeoutMs % 1000 * 1000000};
  const itimerspec expiry{interval, interval};
  require(timerfd_settime(fd, 0, &expiry, nullptr) == 0, "timerfd_settime");
  loop.add(fd);
  return fd;
}

void cancelTimer(EpollLoop& loop, int fd) {
  loop.remove(fd);
  close(fd);
}

class PlainClient {
 public:
  PlainClient(Style style, int dataSize, const ChildProcess::Link& server)
      : m_style(style), m_reader(kClientFifo), m_writer(kServerFifo) {
    m_header.dataSize = dataSize;
    m_loop.add(m_reader.fd());
    m_latencies.reserve(kRoundTrips);
    server.signal();
  }

  double run() {
    request();
    m_loop.run([this](int fd) {
      require(fd == m_reader.fd(), "answer in time");
      return takeResponse();
    });
    m_header.dataSize = 0;
    m_writer.send(m_header, s_payload.data());  // ends the server
    return median(m_latencies);
  }

 private:
  void request() {
    m_start = monotonicNanoseconds();
    ++m_header.sessionId;
    m_writer.send(m_header, s_payload.data());
    if (m_style == Style::Careful) {
      m_timerFd = startTimer(m_loop);
    }
  }

  bool takeResponse() {
    m_reader.receive();
    require(m_reader.header().sessionId == m_header.sessionId, "response");
    if (m_style == Style::Careful) {
      cancelTimer(m_loop, m_timerFd);
    }
    m_latencies.push_back(static_cast<double>(monotonicNanoseconds() - m_start));
    if (m_latencies.size() == kRoundTrips) {
      return false;
    }
    request();
    return true;
  }

  const Style m_style;
  FifoReader m_reader;
  FifoWriter m_writer;
  EpollLoop m_loop;
  PlainHeader m_header{};
  int m_timerFd = -1;
  int64_t m_start = 0;
  std::vector<double> m_latencies;
};

double plainRoundTrip(Style style, int dataSize) {
  const ChildProcess server([style](const ChildProcess::Link& client) { runPlainServer(style, client); });
  server.link().wait();
  return PlainClient(style, dataSize, server.link()).run();
}

void compareStyle(const std::string& name, Style style, Goal goal) {
  for (const int dataSize : {64, 1024, kMaxMessageSize - kHeaderSize}) {
    compare(
        name + ", " + std::to_string(dataSize) + " B", Figure::Nanoseconds, goal,
        [=] { return kelpRoundTrip(style, dataSize); }, [=] { return plainRoundTrip(style, dataSize); });
  }
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  signal(SIGPIPE, SIG_IGN);
  Kelp::TimerService::createInstance();
  compareStyle("Request and response, senders kept, no time-out", Style::Frugal, atMost(1.15));
  compareStyle("Request and response, a sender to each answer, a time-out to each request", Style::Careful,
               atMost(1.3));
  Kelp::TimerService::destroyInstance();
}
