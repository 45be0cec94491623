#include "ResponseEncoder.h"

namespace Kelp {

ResponseEncoder::ResponseEncoder(RpcSerializer& serializer) : RpcEncoder(serializer) {
  setObjectType(ObjectType_ResponseEncoder);
}

ResponseEncoder::~ResponseEncoder() = default;

}  // namespace Kelp
