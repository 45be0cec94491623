// Ends the loop of the thread that executes it; the thread goes on where it called runEventLoop().
#ifndef KELP_EVENT_EXEC_OBJECT_PTHREAD_EXIT_H
#define KELP_EVENT_EXEC_OBJECT_PTHREAD_EXIT_H

#include "ExecObject.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT ExecObjectPthreadExit : public ExecObject {
 public:
  ExecObjectPthreadExit();
  ~ExecObjectPthreadExit() override;

  // The calling thread must run a loop.
  void doExecute() override;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EXEC_OBJECT_PTHREAD_EXIT_H
