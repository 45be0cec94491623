#include "RpcSerializer.h"

namespace Kelp {

RpcSerializer::RpcSerializer(const std::string& filePath) : m_filePath(filePath) {}

RpcSerializer::~RpcSerializer() = default;

std::string RpcSerializer::getOutputFile() const {
  return m_filePath;
}

}  // namespace Kelp
