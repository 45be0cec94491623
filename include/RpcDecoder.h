// Reads the values of a web API request: each operation knows how its value travels (hexadecimal, decimal, text,
// Base64), the parser behind it knows the request's format. Names are the caller's choice.
//
// All getters forward to one getter of the parser and return its result: 0, 10 (Invalid Protocol) when the member is
// missing or malformed, and what the parser states besides.
//
// Threads: none of its own; used by the thread that handles the request.
#ifndef KELP_RPC_RPC_DECODER_H
#define KELP_RPC_RPC_DECODER_H

#include <string>

#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class RpcParser;

class KELP_EXPORT RpcDecoder : public KelpObject {
 public:
  // The parser stays the caller's and must outlive the decoder.
  explicit RpcDecoder(RpcParser& parser);
  ~RpcDecoder() override;

  RpcParser& getParser() const;

  // Hexadecimal.
  CommonReturnCode_t getInstallId(const std::string& name, int& value);

  // Decimal.
  CommonReturnCode_t getFuncId(const std::string& name, int& value);
  CommonReturnCode_t getExecId(const std::string& name, int& value);
  CommonReturnCode_t getProcessId(const std::string& name, int& value);
  CommonReturnCode_t getAppDataType(const std::string& name, int& value);
  CommonReturnCode_t getResetCode(const std::string& name, int& value);
  CommonReturnCode_t getCallback(const std::string& name, int& value);

  // Text.
  CommonReturnCode_t getArgString(const std::string& name, std::string& value);
  CommonReturnCode_t getPrefName(const std::string& name, std::string& value);
  CommonReturnCode_t getPrefValue(const std::string& name, std::string& value);
  CommonReturnCode_t getPrefType(const std::string& name, std::string& value);
  CommonReturnCode_t getRestorePrefs(const std::string& name, std::string& value);

  // Bytes, into the file at `filePath`.
  CommonReturnCode_t getAppPackage(const std::string& name, const std::string& filePath);
  CommonReturnCode_t getAppData(const std::string& name, const std::string& filePath);

  // Bytes, into a block of `size` bytes that the caller releases with SysFunc::kelpFree().
  CommonReturnCode_t getAppData(const std::string& name, void*& data, unsigned int& size);

 private:
  RpcParser& m_parser;
};

}  // namespace Kelp

#endif  // KELP_RPC_RPC_DECODER_H
