#include "RpcDecoder.h"

#include "RpcParser.h"

namespace Kelp {

RpcDecoder::RpcDecoder(RpcParser& parser) : m_parser(parser) {}

RpcDecoder::~RpcDecoder() = default;

RpcParser& RpcDecoder::getParser() const {
  return m_parser;
}

CommonReturnCode_t RpcDecoder::getInstallId(const std::string& name, int& value) {
  return m_parser.getHexadecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getFuncId(const std::string& name, int& value) {
  return m_parser.getDecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getExecId(const std::string& name, int& value) {
  return m_parser.getDecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getProcessId(const std::string& name, int& value) {
  return m_parser.getDecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getAppDataType(const std::string& name, int& value) {
  return m_parser.getDecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getResetCode(const std::string& name, int& value) {
  return m_parser.getDecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getCallback(const std::string& name, int& value) {
  return m_parser.getDecimal(name, value);
}

CommonReturnCode_t RpcDecoder::getArgString(const std::string& name, std::string& value) {
  return m_parser.getStringData(name, value);
}

CommonReturnCode_t RpcDecoder::getPrefName(const std::string& name, std::string& value) {
  return m_parser.getStringData(name, value);
}

CommonReturnCode_t RpcDecoder::getPrefValue(const std::string& name, std::string& value) {
  return m_parser.getStringData(name, value);
}

CommonReturnCode_t RpcDecoder::getPrefType(const std::string& name, std::string& value) {
  return m_parser.getStringData(name, value);
}

CommonReturnCode_t RpcDecoder::getRestorePrefs(const std::string& name, std::string& value) {
  return m_parser.getStringData(name, value);
}

CommonReturnCode_t RpcDecoder::getAppPackage(const std::string& name, const std::string& filePath) {
  return m_parser.getBinaryData(name, filePath);
}

CommonReturnCode_t RpcDecoder::getAppData(const std::string& name, const std::string& filePath) {
  return m_parser.getBinaryData(name, filePath);
}

CommonReturnCode_t RpcDecoder::getAppData(const std::string& name, void*& data, unsigned int& size) {
  return m_parser.getBinaryData(name, data, size);
}

}  // namespace Kelp
