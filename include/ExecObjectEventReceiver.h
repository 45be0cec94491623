// An exec channel: a pipe that carries exec objects from any thread to the looper that serves this receiver.
//
// Each message on the pipe is one object's address, written in one piece, so senders never interleave.
#ifndef KELP_EVENT_EXEC_OBJECT_EVENT_RECEIVER_H
#define KELP_EVENT_EXEC_OBJECT_EVENT_RECEIVER_H

#include <memory>

#include "EventReceiver.h"
#include "KelpExport.h"

namespace Kelp {

class ExecObjectEventSender;

class KELP_EXPORT ExecObjectEventReceiver : public EventReceiver {
 public:
  // Creates the pipe, close-on-exec; ends the process when there is no descriptor for it.
  ExecObjectEventReceiver();

  // Closes both ends. Objects still in the pipe are neither executed nor deleted.
  ~ExecObjectEventReceiver() override;

  // The channel's sender, owned by the receiver.
  ExecObjectEventSender& getSender();

  // Reads one object, blocking until there is one, executes and deletes it. Several threads may serve one channel: each
  // object goes to one of them. A failed read is logged.
  void receiveAndExecuteEvent() override;

 private:
  std::unique_ptr<ExecObjectEventSender> m_pSender;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EXEC_OBJECT_EVENT_RECEIVER_H
