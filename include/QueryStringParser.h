// A request in URL-encoded form: "name=value" pairs joined by '&', with percent escapes and '+' for a blank.
//
// The file is mapped, not read. Values are decoded in place, packed one behind the other at the front of the private
// mapping, and found through a table; only the value that is asked for is copied. The file itself never changes, and
// the parser never removes it; nobody may shorten it while the parser lives.
//
// The grammar takes every input: only a file that cannot be opened or mapped makes a bad request. A name runs to the
// next '=', escaped or not, and may hold '&', CR and LF; a name that the input ends has an empty value. A value runs to
// the next '&' that is not escaped; '=' in it is data, CR and LF that are not escaped are dropped.
//
// Threads: as RpcParser.
#ifndef KELP_RPC_QUERY_STRING_PARSER_H
#define KELP_RPC_QUERY_STRING_PARSER_H

#include <string>
#include <vector>

#include "FileOperator.h"
#include "KelpExport.h"
#include "RpcParser.h"

namespace Kelp {

class KELP_EXPORT QueryStringParser : public RpcParser {
 public:
  // Where a member's value stands in the buffer. It is not terminated there.
  struct MemberTable_t {
    std::string name;   // decoded
    long offset;        // bytes from the start of the buffer
    unsigned int size;  // bytes
  };

  // Parses the file at `filePath`, up to 4 GiB - 1 large, or 2 GiB - 1 where a long has 32 bits; blocks on the file
  // system. Never fails: a file that cannot be opened, which leaves one error line, or that is not empty and cannot be
  // mapped makes every getter answer "Invalid Protocol" (10).
  explicit QueryStringParser(const std::string& filePath);
  ~QueryStringParser() override;
  QueryStringParser(const QueryStringParser&) = delete;
  QueryStringParser& operator=(const QueryStringParser&) = delete;

  CommonReturnCode_t getDecimal(const std::string& name, int& value) override;
  CommonReturnCode_t getHexadecimal(const std::string& name, int& value) override;

  // An empty member gives the empty string.
  CommonReturnCode_t getStringData(const std::string& name, std::string& value) override;

  // Both getters of binary data: text whose length is no multiple of 4 is decoded together with the up to 3 bytes
  // behind it in the buffer; these may belong to the members that follow, whose values then change.

  // The value is Base64 text and is decoded in place, also when the file cannot be written. An empty member creates the
  // file, or touches it, by the shell command "touch", into which the path goes unquoted; the command's result is the
  // getter's.
  CommonReturnCode_t getBinaryData(const std::string& name, const std::string& filePath) override;

  // The value is Base64 text and is decoded in place. An empty member is "Invalid Protocol" (10).
  CommonReturnCode_t getBinaryData(const std::string& name, void*& data, unsigned int& size) override;

  // The size of the first member of that name, whose place goes to `offset`; 0xFFFFFFFF when there is none.
  unsigned int getMemberInfo(const std::string& name, long& offset) const;

  // A copy of the first member of that name, NUL-terminated, which the caller releases with SysFunc::kelpFree().
  // Returns its size without the NUL; 0xFFFFFFFF, with `value` null, when there is none; 0, with `value` null, when
  // memory is out.
  unsigned int getMember(const std::string& name, char*& value) const;

  // Decodes one character at `cursor`, of `remaining` bytes, and passes it. Gives 0 when nothing remains. An escape's
  // two bytes are read as sscanf's "%02X" reads them, so " 5", "+5" and "5x" are 5, "-1" is 255 and "xx" is 0; the
  // input's end may cut them short.
  char charDecoding(char*& cursor, unsigned int& remaining) const;

  // The constructor's work. A second call ends the process.
  void doParsing();

 private:
  KELP_LOCAL void parseMembers();
  KELP_LOCAL void growTable(long parsedSize);

  KELP_LOCAL static const char* const s_queryStringCode;  // the characters that stand for themselves

  ParserState_t m_state;
  char* m_pBuffer;  // the mapping; null when there is none
  std::vector<MemberTable_t> m_memberTable;
  FileOperator m_file;
  unsigned int m_size;  // of the mapping, in bytes
};

}  // namespace Kelp

#endif  // KELP_RPC_QUERY_STRING_PARSER_H
