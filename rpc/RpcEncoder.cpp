#include "RpcEncoder.h"

#include "RpcSerializer.h"
#include "SysFunc.h"

namespace Kelp {

RpcEncoder::RpcEncoder(RpcSerializer& serializer) : m_serializer(serializer) {}

RpcEncoder::~RpcEncoder() = default;

RpcSerializer& RpcEncoder::getSerializer() const {
  return m_serializer;
}

CommonReturnCode_t RpcEncoder::beginArray(const std::string& name) {
  return m_serializer.beginArray(name);
}

CommonReturnCode_t RpcEncoder::endArray() {
  return m_serializer.endArray();
}

CommonReturnCode_t RpcEncoder::beginStruct(const std::string& name) {
  return m_serializer.beginStruct(name);
}

CommonReturnCode_t RpcEncoder::endStruct() {
  return m_serializer.endStruct();
}

CommonReturnCode_t RpcEncoder::putInstallId(const std::string& name, int& value) {
  return m_serializer.putHexadecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putHexFuncId(const std::string& name, int& value) {
  return m_serializer.putHexadecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putFuncId(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putAppId(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putExecId(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putAppDataType(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putProcessId(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putLangId(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putInteger(const std::string& name, int& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putInteger(const std::string& name, unsigned long long& value) {
  return m_serializer.putDecimal(name, value);
}

CommonReturnCode_t RpcEncoder::putFaultCode(const std::string& name, CommonReturnCode_t& value) {
  int number = value;
  return m_serializer.putDecimal(name, number);
}

CommonReturnCode_t RpcEncoder::putFaultString(const std::string& name, const std::string& value) {
  return m_serializer.putStringData(name, value);
}

CommonReturnCode_t RpcEncoder::putKelpVersion(const std::string& name, const std::string& value) {
  return m_serializer.putStringData(name, value);
}

CommonReturnCode_t RpcEncoder::putAppVersion(const std::string& name, const std::string& value) {
  return m_serializer.putStringData(name, value);
}

CommonReturnCode_t RpcEncoder::putPrefVersion(const std::string& name, const std::string& value) {
  return m_serializer.putStringData(name, value);
}

CommonReturnCode_t RpcEncoder::putString(const std::string& name, const std::string& value) {
  return m_serializer.putStringData(name, value);
}

CommonReturnCode_t RpcEncoder::putAppData(const std::string& name, void* data, unsigned int& size) {
  return m_serializer.putBinaryData(name, data, size);
}

CommonReturnCode_t RpcEncoder::putAppData(const std::string& name, const std::string& filePath) {
  const CommonReturnCode_t result = m_serializer.putBinaryData(name, filePath);
  SysFunc::kelpRm(filePath);
  return result;
}

}  // namespace Kelp
