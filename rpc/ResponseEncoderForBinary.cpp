#include "ResponseEncoderForBinary.h"

#include "ApplicationInfoList.h"
#include "BinarySerializer.h"

namespace Kelp {

namespace {

BinarySerializer& binarySerializerOf(const ResponseEncoderForBinary& encoder) {
  return static_cast<BinarySerializer&>(encoder.getSerializer());
}

}  // namespace

ResponseEncoderForBinary::ResponseEncoderForBinary(RpcSerializer& serializer) : ResponseEncoder(serializer) {
  setObjectType(ObjectType_ResponseEncoderForBinary);
}

ResponseEncoderForBinary::~ResponseEncoderForBinary() = default;

CommonReturnCode_t ResponseEncoderForBinary::putParamForInitAllData(CommonReturnCode_t code) {
  return binarySerializerOf(*this).putParamForInitAllData(code);
}

CommonReturnCode_t ResponseEncoderForBinary::putParamForUpdateApplication(CommonReturnCode_t code) {
  return binarySerializerOf(*this).putParamForUpdateApplication(code);
}

CommonReturnCode_t ResponseEncoderForBinary::putParamForStartApp() {
  return binarySerializerOf(*this).putParamForStartApp();
}

CommonReturnCode_t ResponseEncoderForBinary::putParamForStopApp() {
  return binarySerializerOf(*this).putParamForStopApp();
}

CommonReturnCode_t ResponseEncoderForBinary::putParamForGetAppList(
    int number, const std::vector<ApplicationInfoList_t>& applications) {
  return binarySerializerOf(*this).putParamForGetAppList(number, applications);
}

}  // namespace Kelp
