// A response as one JSON object, without white space: {"execId":"5","args":[{"prefName":"app1"}]}.
//
// Every value is a JSON string, numbers too. The response is built in memory and written at once by doSerialize(), so
// nobody who reads the file after that sees half of it. Memory that is out while it is built, but for the binary
// values' own, ends the process. Strings are taken up to their first NUL byte.
//
// Threads: one response belongs to one thread.
#ifndef KELP_RPC_JSON_SERIALIZER_H
#define KELP_RPC_JSON_SERIALIZER_H

#include <stdint.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "KelpExport.h"
#include "KelpReturnCode.h"
#include "RpcSerializer.h"

struct json_object;

namespace Kelp {

class KELP_EXPORT JsonSerializer : public RpcSerializer {
 public:
  // Creates or empties the file. One that cannot be opened ends the process.
  explicit JsonSerializer(const std::string& filePath);
  ~JsonSerializer() override;  // without doSerialize() the file stays empty

  JsonSerializer(const JsonSerializer&) = delete;
  JsonSerializer& operator=(const JsonSerializer&) = delete;

  // Open a container: appended to the innermost open one if that is an array, else put there under `name`, where it
  // replaces an earlier value of that name. Return 0.
  CommonReturnCode_t beginArray(const std::string& name) override;
  CommonReturnCode_t beginStruct(const std::string& name) override;

  // Close the innermost container. Return 0, or 10 (Invalid Protocol), changing nothing, when it is of the other kind.
  // Closing the root is a programming error and ends the process.
  CommonReturnCode_t endArray() override;
  CommonReturnCode_t endStruct() override;

  // Add a value as the begin operations add a container. Return 0.
  CommonReturnCode_t putDecimal(const std::string& name, int& value) override;
  CommonReturnCode_t putDecimal(const std::string& name, unsigned long long& value) override;  // printed as signed
  CommonReturnCode_t putHexadecimal(const std::string& name, int& value) override;             // 8 upper-case digits
  CommonReturnCode_t putHexadecimal(const std::string& name, unsigned long long& value) override;  // 16 digits, of the
                                                                                                   // low 32 bits only
  CommonReturnCode_t putStringData(const std::string& name, const std::string& value) override;

  // Add bytes as Base64 text, a block of fewer than 2^30. Return 0, or after one error line 1 (Invalid Parameter) when
  // the bytes cannot be encoded, as with a null `data`, and 15 (I/O error) when the file cannot be opened or read whole
  // or has 2^30 bytes or more; nothing is added then.
  CommonReturnCode_t putBinaryData(const std::string& name, const std::string& filePath) override;
  CommonReturnCode_t putBinaryData(const std::string& name, void* data, unsigned int& size) override;

  // Writes the response, containers still open as they stand, and closes the file. One that cannot be written whole, as
  // on a full disk, leaves one error line and an empty file. Returns 0. Must not be called twice; values put afterwards
  // are lost.
  CommonReturnCode_t doSerialize() override;

  // For callers that build JSON text by hand: `text` with a backslash before each quotation mark, backslash and
  // solidus, and \b, \f, \n, \r and \t for those control characters. All other bytes stay as they are. Any thread.
  static std::string escapeString(const std::string& text);

 private:
  KELP_LOCAL void add(const std::string& name, json_object* value);
  KELP_LOCAL void addText(const std::string& name, const char* text);
  KELP_LOCAL void open(const std::string& name, json_object* container, int32_t kind);
  KELP_LOCAL bool isInnermost(int32_t kind) const;
  KELP_LOCAL void close();
  KELP_LOCAL bool addBase64(const std::string& name, const void* data, unsigned int size);

  FILE* m_fpo;                            // null once the response is written
  std::vector<int32_t> m_containerKinds;  // one per open container, the root first
  std::vector<json_object*> m_jsonObj;    // the open containers, the root first; only the root is owned
};

}  // namespace Kelp

#endif  // KELP_RPC_JSON_SERIALIZER_H
