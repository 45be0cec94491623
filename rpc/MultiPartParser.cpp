#include "MultiPartParser.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "foundation/Diagnostics.h"
#include "rpc/MemberData.h"
#include "rpc/MemberLookup.h"
#include "rpc/MemberText.h"
#include "rpc/PartText.h"
#include "rpc/RequestMapping.h"
#include "rpc/WordScan.h"

namespace Kelp {

namespace {

constexpr std::size_t kLongestBoundary = 127;
constexpr std::string_view kBoundaryStart = "--";
constexpr std::string_view kDisposition = "Content-Disposition: form-data; name=";

bool isLineEnd(char character) {
  return character == '\r' || character == '\n';
}

// Whether the two bytes end one line together.
bool isLineEndPair(char first, char second) {
  return isLineEnd(first) && isLineEnd(second) && first != second;
}

}  // namespace

MultiPartParser::MultiPartParser(const std::string& filePath)
    : RpcParser(filePath), m_state(PERSAR_INIT), m_pBuffer(nullptr), m_file(filePath, false), m_size(0) {
  setObjectType(ObjectType_MultiPartParser);
  doParsing();
}

MultiPartParser::~MultiPartParser() {
  // Not the file's size of now: memory behind the mapping is not the parser's.
  unmapRequest(m_pBuffer, m_size);
}

CommonReturnCode_t MultiPartParser::getDecimal(const std::string& name, int& value) {
  return m_state == PERSAR_DONE ? decimalMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t MultiPartParser::getHexadecimal(const std::string& name, int& value) {
  return m_state == PERSAR_DONE ? hexadecimalMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t MultiPartParser::getStringData(const std::string& name, std::string& value) {
  return m_state == PERSAR_DONE ? stringMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t MultiPartParser::getBinaryData(const std::string& name, const std::string& filePath) {
  long offset = 0;
  const unsigned int size = m_state == PERSAR_DONE ? getMemberInfo(name, offset) : kNoMember;
  return size == kNoMember ? CommonReturnCode_InvalidProtocol : decodeToFile(m_pBuffer + offset, size, filePath);
}

CommonReturnCode_t MultiPartParser::getBinaryData(const std::string& name, void*& data, unsigned int& size) {
  long offset = 0;
  const unsigned int textSize = m_state == PERSAR_DONE ? getMemberInfo(name, offset) : kNoMember;
  return textSize == kNoMember ? CommonReturnCode_InvalidProtocol
                               : decodeToMemory(m_pBuffer + offset, textSize, data, size);
}

unsigned int MultiPartParser::getMemberInfo(const std::string& name, long& offset) const {
  return findMember(m_memberTable, name, offset, kNoMember);
}

unsigned int MultiPartParser::getMember(const std::string& name, char*& value) const {
  value = nullptr;
  long offset = 0;
  const unsigned int size = getMemberInfo(name, offset);
  return size == kNoMember ? kNoMember : copyMember(m_pBuffer + offset, size, value);
}

char* MultiPartParser::skipCRLF(char* from, char* end) const {
  char* const lineEnd = std::find_if(from, end, isLineEnd);
  if (lineEnd == end) {
    return nullptr;
  }
  char* next = lineEnd + 1;
  if (next != end && isLineEndPair(*lineEnd, *next)) {
    *next++ = '\0';
  }
  *lineEnd = '\0';
  return next;
}

void MultiPartParser::doParsing() {
  KELP_ASSERT(PERSAR_INIT == m_state, "PERSAR_INIT == m_state");
  const bool isParsed = mapRequest(m_file, MappingUse::All, m_pBuffer, m_size) && parseRequest();
  m_state = isParsed ? PERSAR_DONE : PERSAR_ERROR;
}

bool MultiPartParser::parseRequest() {
  if (std::string_view(m_pBuffer, m_size).substr(0, kBoundaryStart.size()) != kBoundaryStart) {
    return false;
  }
  // Of the line itself: a NUL in it ends the boundary, but makes the line no shorter.
  if (distance(m_pBuffer, std::find_if(m_pBuffer, end(), isLineEnd)) > kLongestBoundary) {
    return false;
  }
  char* const cursor = skipCRLF(m_pBuffer, end());
  if (cursor == nullptr) {
    return false;
  }
  const std::string boundary = m_pBuffer;  // to the NUL that the line has got
  return cursor == end() || parseParts(cursor, boundary);
}

// Values are shorter than the parts that they are from, so that they stay behind the cursor.
bool MultiPartParser::parseParts(char* cursor, const std::string& boundary) {
  char* out = m_pBuffer;
  for (;;) {
    // The last boundary has a '-' behind it. Before the first part the cursor is behind the boundary already, and the
    // byte is one of that part, a header's or of the data, whatever the length of the boundary: a '-' there ends the
    // request without members all the same. Clients know it so; the class's header says which requests that hits.
    if (distance(cursor, end()) > boundary.size() && cursor[boundary.size()] == '-') {
      return true;
    }
    if (!parsePart(cursor, boundary, out)) {
      return false;
    }
  }
}

// Leaves the cursor on the boundary behind the part.
bool MultiPartParser::parsePart(char*& cursor, const std::string& boundary, char*& out) {
  MemberTable_t member;
  char* const data = parseHeaders(cursor, member.name);
  if (data == nullptr) {
    return false;
  }
  char* const value = out;
  cursor = packPart(data, end(), boundary, out);
  if (cursor == nullptr) {
    return false;
  }
  member.offset = value - m_pBuffer;
  member.size = static_cast<unsigned int>(out - value);
  m_memberTable.push_back(std::move(member));
  return true;
}

// Returns where the data starts, or null. That a quotation mark stands before the name is not looked at.
char* MultiPartParser::parseHeaders(char* cursor, std::string& name) const {
  char* const disposition = findText(cursor, end(), kDisposition);
  if (disposition == nullptr || distance(disposition, end()) <= kDisposition.size()) {
    return nullptr;
  }
  char* const nameStart = disposition + kDisposition.size() + 1;
  char* const nameEnd = findText(nameStart, end(), "\"");
  if (nameEnd == nullptr) {
    return nullptr;
  }
  *nameEnd = '\0';
  name.assign(nameStart, nameEnd);
  return skipHeaders(nameEnd + 1);
}

// From the rest of a header line to behind the empty line, or null.
char* MultiPartParser::skipHeaders(char* line) const {
  do {
    line = skipCRLF(line, end());
    if (line == nullptr || line == end()) {
      return nullptr;
    }
  } while (!isLineEnd(*line));
  return skipCRLF(line, end());
}

}  // namespace Kelp
