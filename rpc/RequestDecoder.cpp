#include "RequestDecoder.h"

#include "RpcParser.h"

namespace Kelp {

RequestDecoder::RequestDecoder(RpcParser& parser) : RpcDecoder(parser) {
  setObjectType(ObjectType_RequestDecoder);
}

RequestDecoder::~RequestDecoder() = default;

CommonReturnCode_t RequestDecoder::getApi(std::string& api) {
  return getParser().getStringData("methodName", api);
}

}  // namespace Kelp
