#include "RpcParser.h"

namespace Kelp {

RpcParser::RpcParser(const std::string& filePath) : m_filePath(filePath) {}

RpcParser::~RpcParser() = default;

}  // namespace Kelp
