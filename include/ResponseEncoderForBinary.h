// Writes the answer to a binary request that succeeded: one operation, that of the request's method, writes all of it.
//
// Threads: as RpcEncoder.
#ifndef KELP_RPC_RESPONSE_ENCODER_FOR_BINARY_H
#define KELP_RPC_RESPONSE_ENCODER_FOR_BINARY_H

#include <vector>

#include "KelpExport.h"
#include "KelpReturnCode.h"
#include "ResponseEncoder.h"

namespace Kelp {

struct ApplicationInfoList_t;

class KELP_EXPORT ResponseEncoderForBinary : public ResponseEncoder {
 public:
  // The serializer stays the caller's and must outlive the encoder. REQUIRES: it is a BinarySerializer.
  explicit ResponseEncoderForBinary(RpcSerializer& serializer);
  ~ResponseEncoderForBinary() override;

  // Each calls the serializer's operation of the same name and returns its result: 0, or 15 (I/O error).
  CommonReturnCode_t putParamForInitAllData(CommonReturnCode_t code);
  CommonReturnCode_t putParamForUpdateApplication(CommonReturnCode_t code);
  CommonReturnCode_t putParamForStartApp();
  CommonReturnCode_t putParamForStopApp();
  CommonReturnCode_t putParamForGetAppList(int number, const std::vector<ApplicationInfoList_t>& applications);
};

}  // namespace Kelp

#endif  // KELP_RPC_RESPONSE_ENCODER_FOR_BINARY_H
