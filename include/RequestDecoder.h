// Reads a web API request: its method name, and the values of the method.
//
// Threads: as RpcDecoder.
#ifndef KELP_RPC_REQUEST_DECODER_H
#define KELP_RPC_REQUEST_DECODER_H

#include <string>

#include "KelpExport.h"
#include "KelpReturnCode.h"
#include "RpcDecoder.h"

namespace Kelp {

class KELP_EXPORT RequestDecoder : public RpcDecoder {
 public:
  // The parser stays the caller's and must outlive the decoder.
  explicit RequestDecoder(RpcParser& parser);
  ~RequestDecoder() override;

  // The text of the member "methodName", which may be anything: it is for the caller to know the methods. Returns 0, or
  // 10 (Invalid Protocol) when there is no such member.
  CommonReturnCode_t getApi(std::string& api);

 private:
  std::string m_api;  // always empty: part of the object's layout only
};

}  // namespace Kelp

#endif  // KELP_RPC_REQUEST_DECODER_H
