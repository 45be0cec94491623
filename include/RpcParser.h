// A web API request that has been parsed: typed questions about its named members, whatever encoding it came in.
//
// A request is a file, named by its absolute path; the concrete parser parses all of it in its constructor. There is no
// separate validity query: a request that could not be parsed answers every getter with "Invalid Protocol" (10). When a
// name occurs more than once, its first occurrence answers.
//
// Threads: one thread at a time; no locks. The getters are not const: fetching binary data may consume it.
#ifndef KELP_RPC_RPC_PARSER_H
#define KELP_RPC_RPC_PARSER_H

#include <string>

#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class KELP_EXPORT RpcParser : public KelpObject {
 public:
  // Copies the path. Touches no file.
  explicit RpcParser(const std::string& filePath);
  ~RpcParser() override;

  // The member's text as a decimal number. Text that is no number gives 0, and one beyond 32 bits the nearest int.
  // Returns "OK" (0), or "Invalid Protocol" (10) when the member is missing or empty or there is no memory for its
  // text; `value` is then untouched.
  virtual CommonReturnCode_t getDecimal(const std::string& name, int& value) = 0;

  // The member's text as a hexadecimal number, of which at most 8 characters are read; "0x" may precede the digits.
  // Returns "OK" (0), with `value` untouched when there is no digit; or "Invalid Protocol" (10) as for getDecimal().
  virtual CommonReturnCode_t getHexadecimal(const std::string& name, int& value) = 0;

  // The member's text, up to its first NUL byte.
  // Returns "OK" (0), or "Invalid Protocol" (10) when the member is missing or there is no memory for its text; `value`
  // is then untouched.
  virtual CommonReturnCode_t getStringData(const std::string& name, std::string& value) = 0;

  // The member's binary value, written to the file at `filePath`, which is created or overwritten.
  // Returns "OK" (0); "Invalid Protocol" (10) when the member is missing or no Base64 text; "I/O error" (15) when the
  // file cannot be opened, or not written whole, which leaves it empty. Blocks on the file system. May be called once
  // for a member.
  virtual CommonReturnCode_t getBinaryData(const std::string& name, const std::string& filePath) = 0;

  // The member's binary value as a block of `size` bytes, which the caller releases with SysFunc::kelpFree().
  // Returns "OK" (0); "Invalid Protocol" (10) when the member is missing or no Base64 text; "Not Enough Memory" (16).
  // Nothing but "OK" hands a block out. May be called once for a member.
  virtual CommonReturnCode_t getBinaryData(const std::string& name, void*& data, unsigned int& size) = 0;

 protected:
  // How far a parser has come. It leaves PERSAR_INIT once, in its constructor.
  enum ParserState_t : int {
    PERSAR_INIT = 0,   // not parsed yet
    PERSAR_DONE = 1,   // parsed: the only state in which the getters answer
    PERSAR_ERROR = 2,  // the request could not be read or is malformed
  };

 private:
  const std::string m_filePath;  // of the request file
};

}  // namespace Kelp

#endif  // KELP_RPC_RPC_PARSER_H
