// A web API response in the making: named values, nested in structures and arrays, that end up in a file. Handlers
// reach it through the encoders.
//
// Threads: none of its own; one response belongs to one thread.
#ifndef KELP_RPC_RPC_SERIALIZER_H
#define KELP_RPC_RPC_SERIALIZER_H

#include <string>

#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class KELP_EXPORT RpcSerializer : public KelpObject {
 public:
  // The response goes to the file at the absolute path `filePath`.
  explicit RpcSerializer(const std::string& filePath);
  ~RpcSerializer() override;

  std::string getOutputFile() const;

  // Open a container inside the innermost open one, and close the innermost one. Inside an array names mean nothing.
  virtual CommonReturnCode_t beginArray(const std::string& name) = 0;
  virtual CommonReturnCode_t endArray() = 0;
  virtual CommonReturnCode_t beginStruct(const std::string& name) = 0;
  virtual CommonReturnCode_t endStruct() = 0;

  // Add a value to the innermost open container. Values are only read.
  virtual CommonReturnCode_t putDecimal(const std::string& name, int& value) = 0;
  virtual CommonReturnCode_t putDecimal(const std::string& name, unsigned long long& value) = 0;
  virtual CommonReturnCode_t putHexadecimal(const std::string& name, int& value) = 0;
  virtual CommonReturnCode_t putHexadecimal(const std::string& name, unsigned long long& value) = 0;
  virtual CommonReturnCode_t putStringData(const std::string& name, const std::string& value) = 0;

  // The contents of the file at `filePath`, or `size` bytes at `data`.
  virtual CommonReturnCode_t putBinaryData(const std::string& name, const std::string& filePath) = 0;
  virtual CommonReturnCode_t putBinaryData(const std::string& name, void* data, unsigned int& size) = 0;

  // Writes the response out. Called once, last.
  virtual CommonReturnCode_t doSerialize() = 0;

 private:
  const std::string m_filePath;
};

}  // namespace Kelp

#endif  // KELP_RPC_RPC_SERIALIZER_H
