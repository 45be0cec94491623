// Work for another thread's looper: a command on the heap whose address travels through that looper's exec channel.
//
// Threads: built on the sending thread, executed and deleted on the receiving one, which the channel orders.
#ifndef KELP_EVENT_EXEC_OBJECT_H
#define KELP_EVENT_EXEC_OBJECT_H

#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

class KELP_EXPORT ExecObject : public KelpObject {
 public:
  ExecObject();
  ~ExecObject() override;

  // Called once, on the looper's thread; the object is deleted right after.
  virtual void doExecute() = 0;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EXEC_OBJECT_H
