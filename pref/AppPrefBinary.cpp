#include "AppPrefBinary.h"

#include <algorithm>
#include <vector>

#include "Base64EncDec.h"

namespace Kelp {

namespace {

// The decoder takes its input in groups of 4 characters and writes to it.
constexpr unsigned int kGroupSize = 4;

CommonReturnCode_t decode(const std::string& text) {
  Base64EncDec base64;
  const auto length = static_cast<unsigned int>(text.size());
  const unsigned int decodedSize = base64.decodeMaxSize(length);
  std::string input = text;
  input.append(kGroupSize - length % kGroupSize, '\0');
  std::vector<char> decoded(std::max(decodedSize, 1U));
  unsigned int outSize = 0;
  return base64.getBase64(&input[0], length, decoded.data(), decodedSize, outSize);
}

}  // namespace

AppPrefBinary::AppPrefBinary(const std::string& prefName, const std::string& defaultValue, ApiAccessType appApiAccess,
                             ApiAccessType webApiAccess, const std::string& value)
    : AppPref(prefName, AppPrefType_Binary, defaultValue, appApiAccess, webApiAccess, value) {}

AppPrefBinary::~AppPrefBinary() = default;

void AppPrefBinary::setDefaultValue() {
  setValueString(getDefaultValue());
}

CommonReturnCode_t AppPrefBinary::setValueByString(const std::string& text) {
  const CommonReturnCode_t result = decode(text);
  if (result == CommonReturnCode_InvalidProtocol) {
    return CommonReturnCode_InvalidParameter;
  }
  setValue(text);
  return result;
}

AppPref* AppPrefBinary::clone() const {
  return new AppPrefBinary(*this);
}

std::string AppPrefBinary::getValue() const {
  return getStoredValue();
}

void AppPrefBinary::setValue(const std::string& value) {
  setValueString(value);
}

}  // namespace Kelp
