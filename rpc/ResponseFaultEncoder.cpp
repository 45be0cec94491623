#include "ResponseFaultEncoder.h"

namespace Kelp {

ResponseFaultEncoder::ResponseFaultEncoder(RpcSerializer& serializer) : RpcEncoder(serializer) {
  setObjectType(ObjectType_ResponseFaultEncoder);
}

ResponseFaultEncoder::~ResponseFaultEncoder() = default;

}  // namespace Kelp
