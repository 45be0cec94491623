// Writes the values of a web API response: each operation knows how its value travels (hexadecimal, decimal, text,
// bytes), the serializer behind it knows the response's format. Names are the caller's choice.
//
// All operations forward to one operation of the serializer and return its result.
//
// Threads: none of its own; used by the thread that builds the response.
#ifndef KELP_RPC_RPC_ENCODER_H
#define KELP_RPC_RPC_ENCODER_H

#include <string>

#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class RpcSerializer;

class KELP_EXPORT RpcEncoder : public KelpObject {
 public:
  // The serializer stays the caller's and must outlive the encoder.
  explicit RpcEncoder(RpcSerializer& serializer);
  ~RpcEncoder() override;

  RpcSerializer& getSerializer() const;

  CommonReturnCode_t beginArray(const std::string& name);
  CommonReturnCode_t endArray();
  CommonReturnCode_t beginStruct(const std::string& name);
  CommonReturnCode_t endStruct();

  // Hexadecimal.
  CommonReturnCode_t putInstallId(const std::string& name, int& value);
  CommonReturnCode_t putHexFuncId(const std::string& name, int& value);

  // Decimal.
  CommonReturnCode_t putFuncId(const std::string& name, int& value);
  CommonReturnCode_t putAppId(const std::string& name, int& value);
  CommonReturnCode_t putExecId(const std::string& name, int& value);
  CommonReturnCode_t putAppDataType(const std::string& name, int& value);
  CommonReturnCode_t putProcessId(const std::string& name, int& value);
  CommonReturnCode_t putLangId(const std::string& name, int& value);
  CommonReturnCode_t putInteger(const std::string& name, int& value);
  CommonReturnCode_t putInteger(const std::string& name, unsigned long long& value);
  CommonReturnCode_t putFaultCode(const std::string& name, CommonReturnCode_t& value);  // the code's number

  // Text.
  CommonReturnCode_t putFaultString(const std::string& name, const std::string& value);
  CommonReturnCode_t putKelpVersion(const std::string& name, const std::string& value);
  CommonReturnCode_t putAppVersion(const std::string& name, const std::string& value);
  CommonReturnCode_t putPrefVersion(const std::string& name, const std::string& value);
  CommonReturnCode_t putString(const std::string& name, const std::string& value);

  // Bytes: `size` of them at `data`, or the contents of the file at `filePath`. The file is a temporary made for this
  // response: it is removed whatever the serializer's result.
  CommonReturnCode_t putAppData(const std::string& name, void* data, unsigned int& size);
  CommonReturnCode_t putAppData(const std::string& name, const std::string& filePath);

 private:
  RpcSerializer& m_serializer;
};

}  // namespace Kelp

#endif  // KELP_RPC_RPC_ENCODER_H
