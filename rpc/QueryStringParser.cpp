#include "QueryStringParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "foundation/Diagnostics.h"
#include "rpc/MemberData.h"
#include "rpc/MemberLookup.h"
#include "rpc/MemberText.h"
#include "rpc/QueryStringDecoding.h"
#include "rpc/RequestMapping.h"

namespace Kelp {

namespace {

constexpr std::size_t kFirstMembers = 16;
constexpr std::size_t kMostGrowth = 16;

}  // namespace

const char* const QueryStringParser::s_queryStringCode =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~&";

QueryStringParser::QueryStringParser(const std::string& filePath)
    : RpcParser(filePath), m_state(PERSAR_INIT), m_pBuffer(nullptr), m_file(filePath, false), m_size(0) {
  setObjectType(ObjectType_QueryStringParser);
  doParsing();
}

QueryStringParser::~QueryStringParser() {
  // Not the file's size of now: memory behind the mapping is not the parser's.
  unmapRequest(m_pBuffer, m_size);
}

CommonReturnCode_t QueryStringParser::getDecimal(const std::string& name, int& value) {
  return m_state == PERSAR_DONE ? decimalMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t QueryStringParser::getHexadecimal(const std::string& name, int& value) {
  return m_state == PERSAR_DONE ? hexadecimalMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t QueryStringParser::getStringData(const std::string& name, std::string& value) {
  return m_state == PERSAR_DONE ? stringMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t QueryStringParser::getBinaryData(const std::string& name, const std::string& filePath) {
  long offset = 0;
  const unsigned int size = m_state == PERSAR_DONE ? getMemberInfo(name, offset) : kNoMember;
  if (size == kNoMember) {
    return CommonReturnCode_InvalidProtocol;
  }
  return decodeToFile(m_pBuffer + offset, size, filePath);
}

CommonReturnCode_t QueryStringParser::getBinaryData(const std::string& name, void*& data, unsigned int& size) {
  long offset = 0;
  const unsigned int textSize = m_state == PERSAR_DONE ? getMemberInfo(name, offset) : kNoMember;
  if (textSize == kNoMember || textSize == 0) {
    return CommonReturnCode_InvalidProtocol;
  }
  return decodeToMemory(m_pBuffer + offset, textSize, data, size);
}

unsigned int QueryStringParser::getMemberInfo(const std::string& name, long& offset) const {
  return findMember(m_memberTable, name, offset, kNoMember);
}

unsigned int QueryStringParser::getMember(const std::string& name, char*& value) const {
  value = nullptr;
  long offset = 0;
  const unsigned int size = getMemberInfo(name, offset);
  return size == kNoMember ? kNoMember : copyMember(m_pBuffer + offset, size, value);
}

char QueryStringParser::charDecoding(char*& cursor, unsigned int& remaining) const {
  if (remaining == 0) {
    return '\0';
  }
  const char* next = cursor;
  const char decoded = decodeCharacter(next, cursor + remaining);
  const long passed = next - cursor;
  cursor += passed;
  remaining -= static_cast<unsigned int>(passed);
  return decoded;
}

void QueryStringParser::doParsing() {
  KELP_ASSERT(PERSAR_INIT == m_state, "PERSAR_INIT == m_state");
  if (!mapRequest(m_file, MappingUse::Front, m_pBuffer, m_size)) {
    m_state = PERSAR_ERROR;
    return;
  }
  parseMembers();
  m_state = PERSAR_DONE;
}

// Decoding lengthens nothing, so that the values stay behind the cursor. Each member has lost a '=' at least, or has no
// value, and all but the last a '&': the memory behind a value up to its next multiple of 4 is always in the mapping,
// whose first value starts with it and which ends with a page.
void QueryStringParser::parseMembers() {
  const char* cursor = m_pBuffer;
  const char* const end = m_pBuffer + m_size;
  char* out = m_pBuffer;
  while (cursor != end) {
    growTable(cursor - m_pBuffer);
    MemberTable_t& member = m_memberTable.emplace_back();
    decodeName(cursor, end, member.name);
    char* const value = out;
    decodeValue(cursor, end, out);
    member.offset = value - m_pBuffer;
    member.size = static_cast<unsigned int>(out - value);
  }
}

// Makes room for a member. Where the table is full, the share of the input that its members took tells how many there
// will be: a large request's table is then moved a few times only. The growth is limited, should the rest be different.
void QueryStringParser::growTable(long parsedSize) {
  const std::size_t count = m_memberTable.size();
  if (count < m_memberTable.capacity()) {
    return;
  }
  if (count == 0) {
    m_memberTable.reserve(kFirstMembers);
    return;
  }
  const auto expected =  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): the members so far took some of the input
      static_cast<std::size_t>(std::uint64_t{count} * m_size / static_cast<std::uint64_t>(parsedSize));
  m_memberTable.reserve(std::clamp(expected + expected / 16, 2 * count, kMostGrowth * count));
}

}  // namespace Kelp
