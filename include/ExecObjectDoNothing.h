// Wakes a waiting looper, and nothing else.
#ifndef KELP_EVENT_EXEC_OBJECT_DO_NOTHING_H
#define KELP_EVENT_EXEC_OBJECT_DO_NOTHING_H

#include "ExecObject.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT ExecObjectDoNothing : public ExecObject {
 public:
  ExecObjectDoNothing();
  ~ExecObjectDoNothing() override;

  void doExecute() override;
};

}  // namespace Kelp

#endif  // KELP_EVENT_EXEC_OBJECT_DO_NOTHING_H
