// A response in binary form, which answers requests in binary form. Each method has a fixed record, which one of the
// putParamFor... operations writes to the response file at once; handlers reach them through ResponseEncoderForBinary
// and ResponseFaultEncoderForBinary. There are no named values: the operations of RpcSerializer do nothing.
//
// All words have 32 bits and are little-endian. A record is written by one call, so that nobody who reads the file sees
// a part of it unless the disk is full. The file is overwritten, not emptied: a response leaves what a longer one of
// before has behind it.
//
// Once the file could not be opened or a write came up short, every operation that writes returns "I/O error" (15).
//
// Threads: one response belongs to one thread.
#ifndef KELP_RPC_BINARY_SERIALIZER_H
#define KELP_RPC_BINARY_SERIALIZER_H

#include <string>
#include <vector>

#include "FileOperator.h"
#include "KelpExport.h"
#include "KelpReturnCode.h"
#include "RpcSerializer.h"

namespace Kelp {

struct ApplicationInfoList_t;

class KELP_EXPORT BinarySerializer : public RpcSerializer {
 public:
  // Opens the file, or creates it with mode 0600. One that cannot be opened leaves one error line.
  explicit BinarySerializer(const std::string& filePath);
  ~BinarySerializer() override;  // closes the file

  BinarySerializer(const BinarySerializer&) = delete;
  BinarySerializer& operator=(const BinarySerializer&) = delete;

  // Do nothing. Return 0, also when the file could not be written.
  CommonReturnCode_t beginArray(const std::string& name) override;
  CommonReturnCode_t endArray() override;
  CommonReturnCode_t beginStruct(const std::string& name) override;
  CommonReturnCode_t endStruct() override;
  CommonReturnCode_t putDecimal(const std::string& name, int& value) override;
  CommonReturnCode_t putDecimal(const std::string& name, unsigned long long& value) override;
  CommonReturnCode_t putHexadecimal(const std::string& name, int& value) override;
  CommonReturnCode_t putHexadecimal(const std::string& name, unsigned long long& value) override;
  CommonReturnCode_t putStringData(const std::string& name, const std::string& value) override;
  CommonReturnCode_t putBinaryData(const std::string& name, const std::string& filePath) override;
  CommonReturnCode_t putBinaryData(const std::string& name, void* data, unsigned int& size) override;
  CommonReturnCode_t doSerialize() override;

  // Writes `size` bytes, 0 or more, as they are. Returns 0, or 15 (I/O error) when this or an earlier write came up
  // short or the file is not open. Logs nothing.
  CommonReturnCode_t writeParam(void* data, int size);

  // Write one word, the code. Return as writeParam() does.
  CommonReturnCode_t putParamForReturnCodeError(CommonReturnCode_t code);
  CommonReturnCode_t putParamForInitAllData(CommonReturnCode_t code);
  CommonReturnCode_t putParamForUpdateApplication(CommonReturnCode_t code);

  // Write one word, 0. Return as writeParam() does.
  CommonReturnCode_t putParamForStartApp();
  CommonReturnCode_t putParamForStopApp();

  // Writes the words 0 and `number`, which is written as it is, whatever the length of the list; and then for each
  // entry, in the order of the list, 4416 bytes. By byte:
  //   0    firstWord
  //   4    secondWord
  //   8    8 bytes: the text up to its first NUL, filled up with NUL; none ends it when it has 8 bytes or more
  //   16   the four words
  //   32   4 pairs of words, those that are missing (-1, -1)
  //   64   64 slots of 68 bytes: the word, and 64 bytes of text like those at 8; those that are missing -1 and an empty
  //        text
  // Returns as writeParam() does; nothing is written behind what failed.
  CommonReturnCode_t putParamForGetAppList(int number, const std::vector<ApplicationInfoList_t>& applications);

 private:
  KELP_LOCAL CommonReturnCode_t writeWord(int value);

  int m_error;  // 1 once something failed, else 0
  FileOperator m_file;
};

}  // namespace Kelp

#endif  // KELP_RPC_BINARY_SERIALIZER_H
