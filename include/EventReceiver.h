// What an event looper waits for: the owner of one readable descriptor, which knows how to consume and act on what
// arrives there.
//
// Threads: belongs to the thread of its looper once it was added to one.
#ifndef KELP_EVENT_EVENT_RECEIVER_H
#define KELP_EVENT_EVENT_RECEIVER_H

#include "FdOperator.h"
#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class EventLooperMultiWait;

class KELP_EXPORT EventReceiver : public KelpObject {
 public:
  // `autoClose`: the descriptor is closed when the receiver is destroyed. The first form has none (-1) until setFd().
  explicit EventReceiver(bool autoClose);
  EventReceiver(int fd, bool autoClose);
  ~EventReceiver() override;  // the receiver has been removed from its looper before

  EventReceiver(const EventReceiver&) = delete;
  EventReceiver& operator=(const EventReceiver&) = delete;

  int getFd() const;
  void setFd(int fd);  // before the receiver is added to a looper; does not close the descriptor before

  // The looper that the receiver was added to, not owned; null for none. The looper sets it.
  EventLooperMultiWait* getEventLooperMultiWait() const;
  void setEventLooperMultiWait(EventLooperMultiWait* looper);

  // Called by the looper, on its thread, when the descriptor is readable. Must read what it acts on: the looper calls
  // again as long as input is left. May remove and dispose of any receiver of the looper, itself included.
  virtual void receiveAndExecuteEvent() = 0;

 protected:
  // For reading from the descriptor.
  FdOperator& getFdOperator();

 private:
  FdOperator m_fdOperator;
  EventLooperMultiWait* m_pEventLooperMultiWait;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EVENT_RECEIVER_H
