// The sending end of an exec channel: hands exec objects to the looper that serves the receiving end.
#ifndef KELP_EVENT_EXEC_OBJECT_EVENT_SENDER_H
#define KELP_EVENT_EXEC_OBJECT_EVENT_SENDER_H

#include "FdOperator.h"
#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class ExecObject;

class KELP_EXPORT ExecObjectEventSender : public KelpObject {
 public:
  // Takes over the write end of the channel's pipe and closes it when destroyed.
  explicit ExecObjectEventSender(int fd);
  ~ExecObjectEventSender() override;

  ExecObjectEventSender(const ExecObjectEventSender&) = delete;
  ExecObjectEventSender& operator=(const ExecObjectEventSender&) = delete;

  int getFd() const;

  // Can be called on any thread. The object comes from `new` and belongs to the receiving side from now on; objects of
  // one thread are executed in the order in which it sent them. Blocks while the channel is full (8,192 objects on
  // 64 bits), so a looper must not flood itself. A failed write is logged and the object neither executed nor deleted.
  void send(ExecObject& object);

 private:
  FdOperator m_fdOperator;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EXEC_OBJECT_EVENT_SENDER_H
