// A request as multipart form data: parts of text or Base64, as browsers and curl upload them.
//
// The file is mapped, not read. Values are packed one behind the other at the front of the private mapping, and found
// through a table; only the value that is asked for is copied. The file itself never changes, and the parser never
// removes it; nobody may shorten it while the parser lives.
//
// The first line, which begins with "--", is the boundary, and has 127 bytes at most. A part is the text
// "Content-Disposition: form-data; name=", the name between quotation marks, the rest of that line and any further
// header lines, an empty line, and data up to the next occurrence of the boundary, wherever in a line that is. A line
// ends at CR, LF, CR LF or LF CR. Parameters behind the name, such as a file's name, and other headers mean nothing.
// All CR and LF in the data are dropped, so that Base64 may come in lines, and so are those of text. Data holds no NUL
// byte: the text counts as ended there. The last boundary has a '-' behind it. Anything else makes a bad request; the
// boundary line alone is a request without members.
//
// A request whose first part has a '-' in a certain place has no members either: the byte as far behind the start of
// that part's headers as the boundary line is long, its "--" included, is taken for the one that marks the last
// boundary. Which byte that is, of a first part that starts with the Content-Disposition line:
//   boundary line   byte that must not be '-'
//   7 or 25 bytes   the '-' of "Content-Disposition" and of "form-data": such requests never have members
//   40 (Chromium)   the 3rd character of the name
//   42 or 48 (curl before 8.4, and later)   the 5th or the 11th character of the name, or the text behind a shorter one
//   53 to 59 (Firefox)   the 16th to 22nd of the name; of a name such as "methodName", the first bytes of the data
// Clients are safe when they send first a member whose name and value have no '-', such as "methodName".
//
// Threads: as RpcParser.
#ifndef KELP_RPC_MULTI_PART_PARSER_H
#define KELP_RPC_MULTI_PART_PARSER_H

#include <string>
#include <vector>

#include "FileOperator.h"
#include "KelpExport.h"
#include "RpcParser.h"

namespace Kelp {

class KELP_EXPORT MultiPartParser : public RpcParser {
 public:
  // Where a member's value stands in the buffer. It is not terminated there.
  struct MemberTable_t {
    std::string name;
    long offset;        // bytes from the start of the buffer
    unsigned int size;  // bytes
  };

  // Parses the file at `filePath`, up to 4 GiB - 1 large, or 2 GiB - 1 where a long has 32 bits; blocks on the file
  // system. Never fails: a file that cannot be opened, which leaves one error line, or mapped, and one that is no
  // multipart form data, make every getter answer "Invalid Protocol" (10).
  explicit MultiPartParser(const std::string& filePath);
  ~MultiPartParser() override;
  MultiPartParser(const MultiPartParser&) = delete;
  MultiPartParser& operator=(const MultiPartParser&) = delete;

  CommonReturnCode_t getDecimal(const std::string& name, int& value) override;
  CommonReturnCode_t getHexadecimal(const std::string& name, int& value) override;

  // An empty member gives the empty string.
  CommonReturnCode_t getStringData(const std::string& name, std::string& value) override;

  // The value is Base64 text and is decoded in place, also when the file cannot be written. An empty member creates the
  // file, or touches it, by the shell command "touch", into which the path goes unquoted; the command's result is the
  // getter's.
  CommonReturnCode_t getBinaryData(const std::string& name, const std::string& filePath) override;

  // The value is Base64 text and is decoded in place. An empty member gives a block of 0 bytes, which is released like
  // any other.
  CommonReturnCode_t getBinaryData(const std::string& name, void*& data, unsigned int& size) override;

  // The size of the first member of that name, whose place goes to `offset`; 0xFFFFFFFF when there is none.
  unsigned int getMemberInfo(const std::string& name, long& offset) const;

  // A copy of the first member of that name, NUL-terminated, which the caller releases with SysFunc::kelpFree().
  // Returns its size without the NUL; 0xFFFFFFFF, with `value` null, when there is none; 0, with `value` null, when
  // memory is out.
  unsigned int getMember(const std::string& name, char*& value) const;

  // Overwrites the end of the line at `from` with NUL, one byte or two, and returns where the next line starts. Null,
  // with nothing touched, when there is no CR or LF before `end`. NUL bytes in the line are passed.
  char* skipCRLF(char* from, char* end) const;

  // The constructor's work. A second call ends the process.
  void doParsing();

 private:
  KELP_LOCAL bool parseRequest();
  KELP_LOCAL bool parseParts(char* cursor, const std::string& boundary);
  KELP_LOCAL bool parsePart(char*& cursor, const std::string& boundary, char*& out);
  KELP_LOCAL char* parseHeaders(char* cursor, std::string& name) const;
  KELP_LOCAL char* skipHeaders(char* line) const;
  char* end() const { return m_pBuffer + m_size; }

  ParserState_t m_state;
  char* m_pBuffer;  // the mapping; null when there is none
  std::vector<MemberTable_t> m_memberTable;
  FileOperator m_file;
  unsigned int m_size;  // of the mapping, in bytes
};

}  // namespace Kelp

#endif  // KELP_RPC_MULTI_PART_PARSER_H
