// Writes the answer to a web API request that failed: a code with putFaultCode() and its text with putFaultString().
//
// Threads: as RpcEncoder.
#ifndef KELP_RPC_RESPONSE_FAULT_ENCODER_H
#define KELP_RPC_RESPONSE_FAULT_ENCODER_H

#include "KelpExport.h"
#include "RpcEncoder.h"

namespace Kelp {

class KELP_EXPORT ResponseFaultEncoder : public RpcEncoder {
 public:
  // The serializer stays the caller's and must outlive the encoder.
  explicit ResponseFaultEncoder(RpcSerializer& serializer);
  ~ResponseFaultEncoder() override;
};

}  // namespace Kelp

#endif  // KELP_RPC_RESPONSE_FAULT_ENCODER_H
