#include "JsonSerializer.h"

#include <fcntl.h>
#include <json-c/json.h>
#include <stdlib.h>

#include <memory>

#include "Base64EncDec.h"
#include "FileOperator.h"
#include "SysFunc.h"
#include "foundation/Diagnostics.h"
#include "rpc/OutputFile.h"

namespace Kelp {

namespace {

constexpr int32_t kKindStruct = 0;
constexpr int32_t kKindArray = 1;
constexpr size_t kNumberBytes = 24;
constexpr int kPlainForm = 0;  // no white space is added

using MallocedText = std::unique_ptr<unsigned char, void (*)(void*)>;
using KelpBlock = std::unique_ptr<void, void (*)(void*)>;

// The length of the Base64 text of more bytes than these does not fit 32 bits.
constexpr long long kMaxFileBytes = 0x3FFFFFFF;

// How many bytes the file has, or -1 when they are too many to be encoded.
int encodableSize(const FileOperator& file) {
  const long long size = file.size();
  return size <= kMaxFileBytes ? static_cast<int>(size) : -1;
}

}  // namespace

JsonSerializer::JsonSerializer(const std::string& filePath)
    : RpcSerializer(filePath), m_fpo(::fopen(filePath.c_str(), "we")) {
  setObjectType(ObjectType_JsonSerializer);
  KELP_ASSERT(m_fpo != nullptr, "__null != m_fpo");
  ::setvbuf(m_fpo, nullptr, _IONBF, 0);  // all is written at once: a buffer would only cost
  json_object* const root = json_object_new_object();
  KELP_ASSERT(root != nullptr, "__null != root");
  m_jsonObj.push_back(root);
  m_containerKinds.push_back(kKindStruct);
}

JsonSerializer::~JsonSerializer() {
  if (m_fpo != nullptr) {
    ::fclose(m_fpo);
  }
  if (!m_jsonObj.empty()) {
    json_object_put(m_jsonObj.front());
  }
}

CommonReturnCode_t JsonSerializer::beginArray(const std::string& name) {
  open(name, json_object_new_array(), kKindArray);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::endArray() {
  if (!isInnermost(kKindArray)) {
    return CommonReturnCode_InvalidProtocol;
  }
  KELP_ASSERT(1 < m_jsonObj.size(), "1 < m_jsonObj.size()");
  close();
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::beginStruct(const std::string& name) {
  open(name, json_object_new_object(), kKindStruct);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::endStruct() {
  if (!isInnermost(kKindStruct)) {
    return CommonReturnCode_InvalidProtocol;
  }
  KELP_ASSERT(1 < m_jsonObj.size(), "1 < m_jsonObj.size()");
  close();
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::putDecimal(const std::string& name, int& value) {
  char text[kNumberBytes];
  snprintf(text, sizeof(text), "%d", value);
  addText(name, text);
  return CommonReturnCode_Ok;
}

// Clients know values of 2^63 and above as negative ones.
CommonReturnCode_t JsonSerializer::putDecimal(const std::string& name, unsigned long long& value) {
  char text[kNumberBytes];
  snprintf(text, sizeof(text), "%lld", static_cast<long long>(value));
  addText(name, text);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::putHexadecimal(const std::string& name, int& value) {
  char text[kNumberBytes];
  snprintf(text, sizeof(text), "%08X", static_cast<unsigned int>(value));
  addText(name, text);
  return CommonReturnCode_Ok;
}

// Clients know the upper eight digits as zeros, whatever the value.
CommonReturnCode_t JsonSerializer::putHexadecimal(const std::string& name, unsigned long long& value) {
  char text[kNumberBytes];
  snprintf(text, sizeof(text), "%016X", static_cast<unsigned int>(value));
  addText(name, text);
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::putStringData(const std::string& name, const std::string& value) {
  addText(name, value.c_str());
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::putBinaryData(const std::string& name, const std::string& filePath) {
  FileOperator file(filePath, false);
  if (file.open(O_RDONLY, 0) == -1) {
    return CommonReturnCode_IoError;
  }
  const int size = encodableSize(file);
  const KelpBlock data(size < 0 ? nullptr : SysFunc::kelpMalloc(static_cast<unsigned int>(size)), SysFunc::kelpFree);
  if (size < 0 || file.read(data.get(), size, -1) < size) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_IoError;
  }
  if (!addBase64(name, data.get(), static_cast<unsigned int>(size))) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidParameter;
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::putBinaryData(const std::string& name, void* data, unsigned int& size) {
  if (!addBase64(name, data, size)) {
    KELP_LOG_ERROR("###ERROR###");
    return CommonReturnCode_InvalidParameter;
  }
  return CommonReturnCode_Ok;
}

CommonReturnCode_t JsonSerializer::doSerialize() {
  const char* const text = json_object_to_json_string_ext(m_jsonObj.front(), kPlainForm);
  KELP_ASSERT(text != nullptr, "__null != text");
  const bool isWritten = ::fputs(text, m_fpo) >= 0;
  m_containerKinds.pop_back();
  const bool isClosed = ::fclose(m_fpo) == 0;
  m_fpo = nullptr;
  if (!isWritten || !isClosed) {
    KELP_LOG_ERROR("###ERROR###\n");
    emptyFile(getOutputFile());
  }
  return CommonReturnCode_Ok;
}

std::string JsonSerializer::escapeString(const std::string& text) {
  static const std::string s_special = "\"\\/\b\f\n\r\t";
  static const std::string s_afterBackslash = "\"\\/bfnrt";
  std::string escaped;
  escaped.reserve(text.size());
  for (const char character : text) {
    const size_t index = s_special.find(character);
    if (index == std::string::npos) {
      escaped += character;
    } else {
      escaped += {'\\', s_afterBackslash[index]};
    }
  }
  return escaped;
}

// The container is asked for its type, because a value may still be put after doSerialize() has dropped a kind. Memory
// that is out ends the process, as it does where a string or a vector needs it: no response is to lack a value.
void JsonSerializer::add(const std::string& name, json_object* value) {
  KELP_ASSERT(value != nullptr, "__null != value");
  json_object* const container = m_jsonObj.back();
  const int result = json_object_is_type(container, json_type_array) != 0
                         ? json_object_array_add(container, value)
                         : json_object_object_add(container, name.c_str(), value);
  KELP_ASSERT(result == 0, "0 == result");
}

void JsonSerializer::addText(const std::string& name, const char* text) {
  add(name, json_object_new_string(text));
}

void JsonSerializer::open(const std::string& name, json_object* container, int32_t kind) {
  add(name, container);
  m_jsonObj.push_back(container);
  m_containerKinds.push_back(kind);
}

bool JsonSerializer::isInnermost(int32_t kind) const {
  return !m_containerKinds.empty() && m_containerKinds.back() == kind;
}

void JsonSerializer::close() {
  m_jsonObj.pop_back();
  m_containerKinds.pop_back();
}

bool JsonSerializer::addBase64(const std::string& name, const void* data, unsigned int size) {
  Base64EncDec base64;
  const unsigned int maxLength = base64.encodeSize(size);
  const MallocedText text(static_cast<unsigned char*>(::malloc(size_t{maxLength} + 1)), ::free);
  unsigned int length = 0;
  const auto* const bytes = static_cast<const unsigned char*>(data);
  if (base64.putBase64(bytes, size, text.get(), maxLength, length) != CommonReturnCode_Ok) {
    return false;
  }
  text.get()[length] = '\0';
  addText(name, reinterpret_cast<const char*>(text.get()));
  return true;
}

}  // namespace Kelp
