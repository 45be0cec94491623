#include "ExecObjectPthreadExit.h"

#include "EventLooper.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

ExecObjectPthreadExit::ExecObjectPthreadExit() {
  setObjectType(ObjectType_ExecObjectPthreadExit);
}

ExecObjectPthreadExit::~ExecObjectPthreadExit() = default;

void ExecObjectPthreadExit::doExecute() {
  EventLooper* pLooper = EventLooper::getRunningLooper();
  KELP_ASSERT_AT(42, pLooper != nullptr, "pLooper != __null", "virtual void Kelp::ExecObjectPthreadExit::doExecute()");
  pLooper->exitEventLoop();
}

}  // namespace Kelp
