#include "BinarySerializer.h"

#include <fcntl.h>

#include <cstdint>

#include "ApplicationInfoList.h"
#include "rpc/ApplicationRecord.h"

namespace Kelp {

namespace {

constexpr mode_t kFileMode = 0600;

}  // namespace

BinarySerializer::BinarySerializer(const std::string& filePath)
    : RpcSerializer(filePath), m_error(0), m_file(filePath, false) {
  setObjectType(ObjectType_BinarySerializer);
  if (m_file.open(O_WRONLY | O_CREAT, kFileMode) == -1) {
    m_error = 1;
  }
}

BinarySerializer::~BinarySerializer() {
  m_file.close();
}

CommonReturnCode_t BinarySerializer::beginArray(const std::string& /*name*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::endArray() {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::beginStruct(const std::string& /*name*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::endStruct() {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putDecimal(const std::string& /*name*/, int& /*value*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putDecimal(const std::string& /*name*/, unsigned long long& /*value*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putHexadecimal(const std::string& /*name*/, int& /*value*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putHexadecimal(const std::string& /*name*/, unsigned long long& /*value*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putStringData(const std::string& /*name*/, const std::string& /*value*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putBinaryData(const std::string& /*name*/, const std::string& /*filePath*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::putBinaryData(const std::string& /*name*/, void* /*data*/,
                                                   unsigned int& /*size*/) {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::doSerialize() {
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::writeParam(void* data, int size) {
  if (m_file.write(data, size) < size) {
    m_error = 1;
  }
  return m_error == 0 ? CommonReturnCode_Ok : CommonReturnCode_IoError;
}

CommonReturnCode_t BinarySerializer::putParamForReturnCodeError(CommonReturnCode_t code) {
  return writeWord(code);
}

CommonReturnCode_t BinarySerializer::putParamForInitAllData(CommonReturnCode_t code) {
  return writeWord(code);
}

CommonReturnCode_t BinarySerializer::putParamForUpdateApplication(CommonReturnCode_t code) {
  return writeWord(code);
}

CommonReturnCode_t BinarySerializer::putParamForStartApp() {
  return writeWord(0);
}

CommonReturnCode_t BinarySerializer::putParamForStopApp() {
  return writeWord(0);
}

CommonReturnCode_t BinarySerializer::putParamForGetAppList(int number,
                                                           const std::vector<ApplicationInfoList_t>& applications) {
  std::uint32_t header[] = {0, littleEndian(number)};
  if (writeParam(header, sizeof(header)) != CommonReturnCode_Ok) {
    return CommonReturnCode_IoError;
  }
  for (const ApplicationInfoList_t& application : applications) {
    ApplicationRecord record(application);
    if (writeParam(&record, sizeof(record)) != CommonReturnCode_Ok) {
      return CommonReturnCode_IoError;
    }
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinarySerializer::writeWord(int value) {
  std::uint32_t word = littleEndian(value);
  return writeParam(&word, sizeof(word));
}

}  // namespace Kelp
