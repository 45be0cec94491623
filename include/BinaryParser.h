// A request as one fixed binary record, which names its method by number. The record is turned into the members that a
// text request would have, "methodName" first, so that what reads them need not know.
//
// All words have 32 bits and are little-endian; strings end with a NUL.
//   code   methodName           fields, by byte                                     members besides
//   0      updateApplication    4: install id; 8: path of a file with the           installId, applicationPackage
//                               package as Base64 (string, to the record's end)
//   3      startApplication     4: install id; 8: process id; 12: arguments         installId, processId,
//                               (string in 256 bytes); 268: callback                callback, args
//   4      stopApplication      4: install id; 8: process id; 12: callback          installId, processId, callback
//   5      initAllData          4: reset code                                       resetCode
//   6      getApplicationList                                                       none
// The install id reads as eight hexadecimal digits, the other words as decimal numbers. A bad request is one with
// another code, with a record shorter than its fields, with a string that its field does not end, or whose values make
// a text of 512 bytes or more. A string at the record's end may be ended by that of the file; bytes behind the fields
// mean nothing.
//
// The file is mapped; it never changes, and the parser never removes it; nobody may shorten it while the parser lives.
//
// Threads: as RpcParser.
#ifndef KELP_RPC_BINARY_PARSER_H
#define KELP_RPC_BINARY_PARSER_H

#include <stdint.h>

#include <string>
#include <vector>

#include "FileOperator.h"
#include "KelpExport.h"
#include "RpcParser.h"

namespace Kelp {

class KELP_EXPORT BinaryParser : public RpcParser {
 public:
  // Where a member's value stands in the text of all values. It is not terminated there.
  struct MemberTable_t {
    std::string name;
    long offset;        // bytes from the start of the text
    unsigned int size;  // bytes
  };

  // Parses the file at `filePath`, up to 4 GiB - 1 large, or 2 GiB - 1 where a long has 32 bits; blocks on the file
  // system. Never fails: a file that cannot be opened, which leaves one error line, or mapped, a bad request, and a
  // lack of memory make every getter answer "Invalid Protocol" (10).
  explicit BinaryParser(const std::string& filePath);
  ~BinaryParser() override;
  BinaryParser(const BinaryParser&) = delete;
  BinaryParser& operator=(const BinaryParser&) = delete;

  // In all getters an empty member counts as missing.
  CommonReturnCode_t getDecimal(const std::string& name, int& value) override;
  CommonReturnCode_t getHexadecimal(const std::string& name, int& value) override;
  CommonReturnCode_t getStringData(const std::string& name, std::string& value) override;

  // The member is the path of a file with Base64 text, of which CR, LF and blanks are dropped; what it decodes to goes
  // to `filePath`. May be called again. Returns "OK" (0); "Invalid Protocol" (10) when the member is missing or has 256
  // bytes or more, and, after one error line, when the file holds no Base64 text; "I/O error" (15) when the file is
  // missing or cannot be read, or `filePath` not written whole, which leaves that empty; "Not Enough Memory" (16). An
  // empty file creates `filePath`, or touches it, by the shell command "touch", into which the path goes unquoted; the
  // command's result is the getter's.
  CommonReturnCode_t getBinaryData(const std::string& name, const std::string& filePath) override;

  // No method has a member that is meant for this: it hands out as many bytes of the record, not of the text, as the
  // member has, from its place in the text on; "Invalid Protocol" (10) when the record ends before. Consumes nothing.
  CommonReturnCode_t getBinaryData(const std::string& name, void*& data, unsigned int& size) override;

  // The size of the first member of that name, whose place goes to `offset`; 0 when there is none.
  unsigned int getMemberInfo(const std::string& name, long& offset) const;

  // A copy of the first member of that name, NUL-terminated, which the caller releases with SysFunc::kelpFree().
  // Returns its size without the NUL; 0, with `value` null, when there is none, it is empty or memory is out.
  unsigned int getMember(const std::string& name, char*& value) const;

  // The constructor's work. A second call ends the process.
  void doParsing();

 private:
  struct Field;
  struct Method;

  KELP_LOCAL static const Method* findMethod(uint32_t code);
  KELP_LOCAL bool parseRecord();
  KELP_LOCAL bool addField(const Field& field);
  KELP_LOCAL bool addString(const Field& field);
  KELP_LOCAL bool addMember(const char* name, const char* text, size_t size);
  KELP_LOCAL bool readWord(size_t offset, uint32_t& word) const;

  ParserState_t m_state;
  char* m_pRecord;  // the mapping; null when there is none
  char* m_pText;    // the values, one behind the other
  std::vector<MemberTable_t> m_memberTable;
  FileOperator m_file;
  unsigned int m_size;  // of the mapping, in bytes
};

}  // namespace Kelp

#endif  // KELP_RPC_BINARY_PARSER_H
