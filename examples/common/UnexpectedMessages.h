// Takes the messages that a process does not expect. A receiver ends the process when a message comes from a kind of
// peer that has no handler, and anybody may write into a FIFO: so every kind gets one.
#ifndef KELP_EXAMPLES_COMMON_UNEXPECTED_MESSAGES_H
#define KELP_EXAMPLES_COMMON_UNEXPECTED_MESSAGES_H

#include "IpcEventReceiver.h"

namespace KelpExample {

class UnexpectedMessages : public Kelp::IpcEventReceiver::RequestHandler,
                           public Kelp::IpcEventReceiver::OneWayRequestHandler {
 public:
  // `self`: the address that answers come from. Borrowed.
  explicit UnexpectedMessages(const Kelp::IpcAddress& self);
  ~UnexpectedMessages() override;

  // Answers with "Not Supported".
  void handleRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataRequest& data, int dataSize,
                     Kelp::SessionId_t sessionId) override;

  // Drops the message after a note: there is nobody to answer.
  void handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data, int dataSize) override;

 private:
  const Kelp::IpcAddress& m_self;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_UNEXPECTED_MESSAGES_H
