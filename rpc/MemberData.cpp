#include "rpc/MemberData.h"

#include <stdio.h>
#include <string.h>

#include "Base64EncDec.h"
#include "SysFunc.h"
#include "rpc/OutputFile.h"

namespace Kelp {

CommonReturnCode_t decodeToMemory(char* text, unsigned int size, void*& data, unsigned int& dataSize) {
  unsigned int decodedSize = 0;
  if (Base64EncDec().getBase64(text, size, decodedSize) != CommonReturnCode_Ok) {
    return CommonReturnCode_InvalidProtocol;
  }
  void* const block = SysFunc::kelpMalloc(decodedSize);
  if (block == nullptr) {
    return CommonReturnCode_NotEnoughMemory;
  }
  memcpy(block, text, decodedSize);
  data = block;
  dataSize = decodedSize;
  return CommonReturnCode_Ok;
}

CommonReturnCode_t decodeToFile(char* text, unsigned int size, const std::string& filePath) {
  if (size == 0) {
    return touchFile(filePath);
  }
  unsigned int decodedSize = 0;
  if (Base64EncDec().getBase64(text, size, decodedSize) != CommonReturnCode_Ok) {
    return CommonReturnCode_InvalidProtocol;
  }
  return writeDataFile(text, decodedSize, filePath);
}

CommonReturnCode_t writeDataFile(const void* data, unsigned int size, const std::string& filePath) {
  FILE* const file = fopen(filePath.c_str(), "we");
  if (file == nullptr) {
    return CommonReturnCode_IoError;
  }
  const bool isWritten = fwrite(data, 1, size, file) == size;
  const bool isClosed = fclose(file) == 0;  // flushes: a full disk may show only here
  if (!isWritten || !isClosed) {
    emptyFile(filePath);
    return CommonReturnCode_IoError;
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t touchFile(const std::string& filePath) {
  return SysFunc::kelpExec("touch " + filePath);
}

}  // namespace Kelp
