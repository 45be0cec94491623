#include "BinaryParser.h"

#include <endian.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "SysFunc.h"
#include "foundation/Diagnostics.h"
#include "rpc/MemberLookup.h"
#include "rpc/MemberText.h"
#include "rpc/PackageFile.h"
#include "rpc/RequestMapping.h"

namespace Kelp {

namespace {

constexpr unsigned int kTextBytes = 512;
constexpr unsigned int kPathBytes = 256;  // with the NUL
constexpr std::size_t kArgumentBytes = 256;
constexpr std::size_t kMostFields = 4;

enum class Form { Hexadecimal, Decimal, StringOf256, StringToTheEnd };

}  // namespace

struct BinaryParser::Field {
  const char* name;
  Form form;
  std::size_t offset;  // in the record, in bytes
};

struct BinaryParser::Method {
  std::uint32_t code;
  const char* name;
  Field fields[kMostFields];  // in the order of the members; one without a name ends them
};

const BinaryParser::Method* BinaryParser::findMethod(std::uint32_t code) {
  static constexpr Method kMethods[] = {
      {0, "updateApplication", {{"installId", Form::Hexadecimal, 4}, {"applicationPackage", Form::StringToTheEnd, 8}}},
      {3,
       "startApplication",
       {{"installId", Form::Hexadecimal, 4},
        {"processId", Form::Decimal, 8},
        {"callback", Form::Decimal, 268},
        {"args", Form::StringOf256, 12}}},
      {4,
       "stopApplication",
       {{"installId", Form::Hexadecimal, 4}, {"processId", Form::Decimal, 8}, {"callback", Form::Decimal, 12}}},
      {5, "initAllData", {{"resetCode", Form::Decimal, 4}}},
      {6, "getApplicationList", {}},
  };
  const auto* const method =
      std::find_if(std::begin(kMethods), std::end(kMethods), [&](const Method& m) { return m.code == code; });
  return method == std::end(kMethods) ? nullptr : method;
}

BinaryParser::BinaryParser(const std::string& filePath)
    : RpcParser(filePath),
      m_state(PERSAR_INIT),
      m_pRecord(nullptr),
      m_pText(nullptr),
      m_file(filePath, false),
      m_size(0) {
  setObjectType(ObjectType_BinaryParser);
  doParsing();
}

BinaryParser::~BinaryParser() {
  // Not the file's size of now: memory behind the mapping is not the parser's.
  unmapRequest(m_pRecord, m_size);
  SysFunc::kelpFree(m_pText);
}

CommonReturnCode_t BinaryParser::getDecimal(const std::string& name, int& value) {
  return m_state == PERSAR_DONE ? decimalMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t BinaryParser::getHexadecimal(const std::string& name, int& value) {
  return m_state == PERSAR_DONE ? hexadecimalMember(*this, name, value) : CommonReturnCode_InvalidProtocol;
}

CommonReturnCode_t BinaryParser::getStringData(const std::string& name, std::string& value) {
  if (m_state != PERSAR_DONE) {
    return CommonReturnCode_InvalidProtocol;
  }
  const MemberText text(*this, name);
  if (!text.hasText()) {
    return CommonReturnCode_InvalidProtocol;
  }
  value = text.get();
  return CommonReturnCode_Ok;
}

CommonReturnCode_t BinaryParser::getBinaryData(const std::string& name, const std::string& filePath) {
  long offset = 0;
  const unsigned int size = m_state == PERSAR_DONE ? getMemberInfo(name, offset) : 0;
  if (size == 0 || size >= kPathBytes) {
    return CommonReturnCode_InvalidProtocol;
  }
  const CommonReturnCode_t result = decodePackage(std::string(m_pText + offset, size), filePath);
  if (result == CommonReturnCode_InvalidProtocol) {
    KELP_LOG_ERROR("Base64 dec error");
  }
  return result;
}

// Reads the record where the text is meant: hosts may have come to rely on it, and no method has a member for this.
CommonReturnCode_t BinaryParser::getBinaryData(const std::string& name, void*& data, unsigned int& size) {
  long offset = 0;
  const unsigned int memberSize = m_state == PERSAR_DONE ? getMemberInfo(name, offset) : 0;
  if (memberSize == 0 || static_cast<std::size_t>(offset) + memberSize > m_size) {
    return CommonReturnCode_InvalidProtocol;
  }
  void* const block = SysFunc::kelpMalloc(memberSize);
  if (block == nullptr) {
    return CommonReturnCode_NotEnoughMemory;
  }
  memcpy(block, m_pRecord + offset, memberSize);
  data = block;
  size = memberSize;
  return CommonReturnCode_Ok;
}

unsigned int BinaryParser::getMemberInfo(const std::string& name, long& offset) const {
  return findMember(m_memberTable, name, offset, 0);
}

unsigned int BinaryParser::getMember(const std::string& name, char*& value) const {
  value = nullptr;
  long offset = 0;
  const unsigned int size = getMemberInfo(name, offset);
  return size == 0 ? 0 : copyMember(m_pText + offset, size, value);
}

void BinaryParser::doParsing() {
  KELP_ASSERT(PERSAR_INIT == m_state, "PERSAR_INIT == m_state");
  m_state = PERSAR_ERROR;
  if (!mapRequest(m_file, MappingUse::Front, m_pRecord, m_size)) {
    return;
  }
  m_pText = static_cast<char*>(SysFunc::kelpMalloc(kTextBytes));
  if (m_pText == nullptr) {
    m_file.close();
    return;
  }
  if (parseRecord()) {
    m_state = PERSAR_DONE;
  }
}

bool BinaryParser::parseRecord() {
  std::uint32_t code = 0;
  const Method* const method = readWord(0, code) ? findMethod(code) : nullptr;
  if (method == nullptr) {
    return false;
  }
  addMember("methodName", method->name, strlen(method->name));
  return std::all_of(std::begin(method->fields), std::end(method->fields),
                     [this](const Field& field) { return field.name == nullptr || addField(field); });
}

bool BinaryParser::addField(const Field& field) {
  if (field.form == Form::StringOf256 || field.form == Form::StringToTheEnd) {
    return addString(field);
  }
  std::uint32_t word = 0;
  if (!readWord(field.offset, word)) {
    return false;
  }
  char text[16];
  const int size = field.form == Form::Hexadecimal ? snprintf(text, sizeof(text), "%08X", word)
                                                   : snprintf(text, sizeof(text), "%d", static_cast<int>(word));
  return addMember(field.name, text, static_cast<std::size_t>(size));
}

// REQUIRES: a record that reaches the field, as do all that have the fields before it.
bool BinaryParser::addString(const Field& field) {
  const char* const text = m_pRecord + field.offset;
  const std::size_t left = m_size - field.offset;
  if (field.form == Form::StringToTheEnd) {
    return addMember(field.name, text, strnlen(text, std::min<std::size_t>(left, kTextBytes)));
  }
  const std::size_t size = strnlen(text, std::min(left, kArgumentBytes));
  return size < kArgumentBytes && addMember(field.name, text, size);
}

// The text and a NUL have to fit the buffer.
bool BinaryParser::addMember(const char* name, const char* text, std::size_t size) {
  const std::size_t offset =
      m_memberTable.empty() ? 0 : static_cast<std::size_t>(m_memberTable.back().offset) + m_memberTable.back().size;
  if (offset + size >= kTextBytes) {
    return false;
  }
  memcpy(m_pText + offset, text, size);
  m_memberTable.push_back({name, static_cast<long>(offset), static_cast<unsigned int>(size)});
  return true;
}

bool BinaryParser::readWord(std::size_t offset, std::uint32_t& word) const {
  if (m_size < offset + sizeof(word)) {
    return false;
  }
  memcpy(&word, m_pRecord + offset, sizeof(word));
  word = le32toh(word);
  return true;
}

}  // namespace Kelp
