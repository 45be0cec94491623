#include "ExecObjectDoNothing.h"

namespace Kelp {

ExecObjectDoNothing::ExecObjectDoNothing() {
  setObjectType(ObjectType_ExecObjectDoNothing);
}

ExecObjectDoNothing::~ExecObjectDoNothing() = default;

void ExecObjectDoNothing::doExecute() {}

}  // namespace Kelp
