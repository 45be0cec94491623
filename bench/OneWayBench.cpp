// One-way messages from 1 and 4 sender processes into one loop, beside epoll_wait, two reads and one write. The figure
// is the CPU time that a message costs its sender and its receiver together.
#include <signal.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "EventLooperMultiWait.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcData.h"
#include "IpcEventReceiver.h"
#include "IpcEventSender.h"
#include "support/ChildProcess.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/EpollLoop.h"
#include "support/Fifo.h"
#include "support/PrivateNamespace.h"

using namespace KelpBench;

namespace {

constexpr char kReceiverFifo[] = "/tmp/Kelp/fifoplainreceiver";

struct Load {
  int senders;
  int dataSize;

  // A sender sends this many, and so many again each time when the receiver has taken as many: the FIFO never fills up.
  int window() const { return (dataSize <= 64 ? 256 : 20) / senders; }
  int messagesOfEach() const { return 400 * window(); }
  int messages() const { return senders * messagesOfEach(); }
};

// The payload's first byte says which sender it is from.
using Payload = std::vector<char>;
Payload payloadOf(const Load& load, int sender) {
  Payload payload(static_cast<size_t>(load.dataSize), 'x');
  payload[0] = static_cast<char>(sender);
  return payload;
}

// Calls send() for each message; then tells the receiver what it cost.
template <typename Send>
void sendAll(const Load& load, const ChildProcess::Link& receiver, Send send) {
  receiver.signal();
  receiver.wait();
  const int64_t start = processCpuNanoseconds();
  int credit = 2 * load.window();
  for (int i = 0; i < load.messagesOfEach(); ++i) {
    if (credit == 0) {
      receiver.wait();
      credit = load.window();
    }
    --credit;
    send();
  }
  const int64_t cost = processCpuNanoseconds() - start;
  receiver.wait();  // the last two windows
  receiver.wait();
  receiver.send(cost);
}

using Senders = std::vector<std::unique_ptr<ChildProcess>>;

// Counts what has come and lets the senders go on.
class Intake {
 public:
  Intake(const Load& load, const Senders& senders)
      : m_window(load.window()),
        m_remaining(load.messages()),
        m_senders(senders),
        m_taken(static_cast<size_t>(load.senders), 0) {}

  // Returns false at the last message.
  bool take(const void* data) {
    const auto sender = static_cast<size_t>(*static_cast<const char*>(data));
    if (++m_taken[sender] == m_window) {
      m_taken[sender] = 0;
      m_senders[sender]->link().signal();
    }
    return --m_remaining > 0;
  }

 private:
  const int m_window;
  int m_remaining;
  const Senders& m_senders;
  std::vector<int> m_taken;
};

// Starts the senders, has receiveAll(intake) receive everything, and adds up what it has cost.
template <typename SendAs, typename ReceiveAll>
double costOfAMessage(const Load& load, SendAs sendAs, ReceiveAll receiveAll) {
  Senders senders;
  for (int i = 0; i < load.senders; ++i) {
    senders.push_back(
        std::make_unique<ChildProcess>([sendAs, i](const ChildProcess::Link& receiver) { sendAs(i, receiver); }));
    senders.back()->link().wait();
  }
  Intake intake(load, senders);
  int64_t cost = -processCpuNanoseconds();
  for (const auto& sender : senders) {
    sender->link().signal();
  }
  receiveAll(intake);
  cost += processCpuNanoseconds();
  for (const auto& sender : senders) {
    cost += sender->link().receive<int64_t>();
  }
  return static_cast<double>(cost) / load.messages();
}

class KelpReceiver : public Kelp::IpcEventReceiver::OneWayRequestHandler {
 public:
  KelpReceiver() : m_receiver(Kelp::IpcAddressCore()) {
    m_receiver.setOneWayRequestHandler(Kelp::IpcAddressType_App, *this);
    m_looper.addEventReceiver(m_receiver);
  }
  ~KelpReceiver() override { m_looper.removeEventReceiver(m_receiver); }

  void receiveAll(Intake& intake) {
    m_intake = &intake;
    m_looper.runEventLoop();
  }

  void handleOneWayRequest(Kelp::IpcAddress& /*source*/, Kelp::IpcDataOneWayRequest& data, int /*dataSize*/) override {
    if (!m_intake->take(&data)) {
      m_looper.exitEventLoop();
    }
  }

 private:
  Kelp::EventLooperMultiWait m_looper;
  Kelp::IpcEventReceiver m_receiver;
  Intake* m_intake = nullptr;
};

double kelpMessage(const Load& load) {
  KelpReceiver kelpReceiver;
  const auto sendAs = [&load](int number, const ChildProcess::Link& receiver) {
    Payload payload = payloadOf(load, number);
    Kelp::IpcEventSender sender(Kelp::IpcAddressCore(), Kelp::IpcAddressApp(number, 0));
    sendAll(load, receiver, [&] {
      auto& data = reinterpret_cast<Kelp::IpcDataOneWayRequest&>(payload[0]);
      require(sender.sendOneWayRequest(data, load.dataSize) == Kelp::CommonReturnCode_Ok, "sendOneWayRequest");
    });
  };
  return costOfAMessage(load, sendAs, [&kelpReceiver](Intake& intake) { kelpReceiver.receiveAll(intake); });
}

double plainMessage(const Load& load) {
  FifoReader reader(kReceiverFifo);
  EpollLoop loop;
  loop.add(reader.fd());
  const auto sendAs = [&load](int number, const ChildProcess::Link& receiver) {
    const Payload payload = payloadOf(load, number);
    FifoWriter writer(kReceiverFifo);
    PlainHeader header{};
    header.source[0] = number;
    header.dataSize = load.dataSize;
    sendAll(load, receiver, [&] { writer.send(header, payload.data()); });
  };
  return costOfAMessage(load, sendAs, [&](Intake& intake) {
    loop.run([&](int) {
      reader.receive();
      return intake.take(reader.data());
    });
  });
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  signal(SIGPIPE, SIG_IGN);
  for (const int senders : {1, 4}) {
    for (const int dataSize : {64, 1024}) {
      const Load load{senders, dataSize};
      compare(
          "One-way message, " + std::to_string(senders) + (senders == 1 ? " sender, " : " senders, ") +
              std::to_string(dataSize) + " B, CPU",
          Figure::Nanoseconds, atMost(1.25), [&] { return kelpMessage(load); }, [&] { return plainMessage(load); });
    }
  }
}
