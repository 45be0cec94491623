#include "ResponseFaultEncoderForBinary.h"

#include "BinarySerializer.h"

namespace Kelp {

ResponseFaultEncoderForBinary::ResponseFaultEncoderForBinary(RpcSerializer& serializer)
    : ResponseFaultEncoder(serializer) {
  setObjectType(ObjectType_ResponseFaultEncoderForBinary);
}

ResponseFaultEncoderForBinary::~ResponseFaultEncoderForBinary() = default;

CommonReturnCode_t ResponseFaultEncoderForBinary::putParamForReturnCodeError(CommonReturnCode_t code) {
  return static_cast<BinarySerializer&>(getSerializer()).putParamForReturnCodeError(code);
}

}  // namespace Kelp
