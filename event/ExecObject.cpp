#include "ExecObject.h"

namespace Kelp {

ExecObject::ExecObject() = default;
ExecObject::~ExecObject() = default;

}  // namespace Kelp
