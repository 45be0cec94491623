// Writes the answer to a web API request that succeeded.
//
// Threads: as RpcEncoder.
#ifndef KELP_RPC_RESPONSE_ENCODER_H
#define KELP_RPC_RESPONSE_ENCODER_H

#include "KelpExport.h"
#include "RpcEncoder.h"

namespace Kelp {

class KELP_EXPORT ResponseEncoder : public RpcEncoder {
 public:
  // The serializer stays the caller's and must outlive the encoder.
  explicit ResponseEncoder(RpcSerializer& serializer);
  ~ResponseEncoder() override;
};

}  // namespace Kelp

#endif  // KELP_RPC_RESPONSE_ENCODER_H
