// A receiver in its loop, what is written into its FIFO, the sessions that await a response, and a model of all that.
#ifndef KELP_FUZZ_CONVERSATION_H
#define KELP_FUZZ_CONVERSATION_H

#include <stdint.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Disposable.h"
#include "EventLooperMultiWait.h"
#include "IpcEventReceiver.h"
#include "fuzz/ipc-stream/Expectation.h"
#include "fuzz/ipc-stream/Stream.h"
#include "fuzz/support/Input.h"

namespace KelpFuzz {

class Conversation : public Kelp::IpcEventReceiver::RequestHandler,
                     public Kelp::IpcEventReceiver::OneWayRequestHandler {
 public:
  explicit Conversation(Input& input);
  ~Conversation() override;
  Conversation(const Conversation&) = delete;
  Conversation& operator=(const Conversation&) = delete;

  // Until the input is over, or the process would be.
  void run();

 private:
  // What a handler does once it has been told something.
  enum class Deed { Nothing, AwaitAgain, AwaitNext, DieItself, KillOther, DisposeOfReceiver, EndLoop };

  struct Session {
    uint32_t id;
    unsigned int handler;
    int timeout;  // in milliseconds
    Deed deed;
    int64_t expiry;  // on the Clock; of no meaning without a time-out
  };

  class Looper;
  class Receiver;
  class Waiter;

  static constexpr unsigned int kWaiters = 3;

  void handleRequest(Kelp::IpcAddress& source, Kelp::IpcDataRequest& data, int dataSize,
                     Kelp::SessionId_t sessionId) override;
  void handleOneWayRequest(Kelp::IpcAddress& source, Kelp::IpcDataOneWayRequest& data, int dataSize) override;
  void handleResponse(unsigned int waiter, uint32_t sessionId, Kelp::IpcAddress& source, const Kelp::IpcData& data,
                      int dataSize);
  void handleTimeout(unsigned int waiter, uint32_t sessionId);
  void doForRequest(uint32_t sessionId);
  void doDeed(const Session& told);

  void makeReceiverOnStaleFifo();
  void setHandlers();
  bool prepare();
  bool isSomethingToDo() const;
  void writeNext();
  void addFirstSessions();
  Session takeSession();
  void takeOther();
  void write(const KelpTest::Bytes& bytes);
  void receive();

  void await(Session session);
  void kill(unsigned int waiter);
  void killAll();
  void disposeOfReceiver();
  void end();
  bool hasTimeout() const;
  void finish();

  Input& m_input;
  const unsigned int m_handlers;  // the first byte
  const unsigned int m_setting;   // the second
  Expectation m_expectation;
  std::unique_ptr<Looper> m_looper;
  std::unique_ptr<Receiver> m_receiver;
  std::string m_path;  // of its FIFO
  int m_fd = -1;       // to write to it
  std::unique_ptr<Waiter> m_waiters[kWaiters];
  Stream m_stream;
  std::map<uint32_t, Session> m_sessions;  // that are awaited
  std::vector<uint32_t> m_sessionIds;      // that ever were
  unsigned int m_deedOfRequests = 0;
  unsigned int m_requestsToDeed = 0;
  bool m_isBegun = false;
  bool m_isOver = false;
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_CONVERSATION_H
