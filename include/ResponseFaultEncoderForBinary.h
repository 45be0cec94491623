// Writes the answer to a binary request that failed: its code.
//
// Threads: as RpcEncoder.
#ifndef KELP_RPC_RESPONSE_FAULT_ENCODER_FOR_BINARY_H
#define KELP_RPC_RESPONSE_FAULT_ENCODER_FOR_BINARY_H

#include "KelpExport.h"
#include "KelpReturnCode.h"
#include "ResponseFaultEncoder.h"

namespace Kelp {

class KELP_EXPORT ResponseFaultEncoderForBinary : public ResponseFaultEncoder {
 public:
  // The serializer stays the caller's and must outlive the encoder. REQUIRES: it is a BinarySerializer.
  explicit ResponseFaultEncoderForBinary(RpcSerializer& serializer);
  ~ResponseFaultEncoderForBinary() override;

  // Calls the serializer's operation of the same name and returns its result: 0, or 15 (I/O error).
  CommonReturnCode_t putParamForReturnCodeError(CommonReturnCode_t code);
};

}  // namespace Kelp

#endif  // KELP_RPC_RESPONSE_FAULT_ENCODER_FOR_BINARY_H
