#include "apiclient/RequestReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <map>
#include <vector>

#include "FileOperator.h"
#include "QueryStringParser.h"
#include "RequestDecoder.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

using Kelp::CommonReturnCode_t;
using Kelp::RequestDecoder;

// Each takes one argument out of the request; the decoder knows in which form it is written there.
using ArgumentReader = CommonReturnCode_t (*)(RequestDecoder& decoder, Record& request);

CommonReturnCode_t readInstallId(RequestDecoder& decoder, Record& request) {
  int installId = 0;
  const CommonReturnCode_t code = decoder.getInstallId(kInstallId, installId);
  request.putHexadecimal(kInstallId, installId);
  return code;
}

CommonReturnCode_t readExecId(RequestDecoder& decoder, Record& request) {
  int execId = 0;
  const CommonReturnCode_t code = decoder.getExecId(kExecId, execId);
  request.putDecimal(kExecId, execId);
  return code;
}

CommonReturnCode_t readPrefName(RequestDecoder& decoder, Record& request) {
  std::string name;
  const CommonReturnCode_t code = decoder.getPrefName(kPrefName, name);
  request.putString(kPrefName, name);
  return code;
}

CommonReturnCode_t readPrefType(RequestDecoder& decoder, Record& request) {
  std::string type;
  const CommonReturnCode_t code = decoder.getPrefType(kPrefType, type);
  request.putString(kPrefType, type);
  return code;
}

CommonReturnCode_t readPrefValue(RequestDecoder& decoder, Record& request) {
  std::string value;
  const CommonReturnCode_t code = decoder.getPrefValue(kPrefValue, value);
  request.putString(kPrefValue, value);
  return code;
}

const std::map<std::string, std::vector<ArgumentReader>>& methods() {
  static const std::map<std::string, std::vector<ArgumentReader>> s_methods = {
      {"getApplicationList", {}},
      {"getPreferences", {readInstallId}},
      {"getStatus", {}},
      {"initAllData", {}},
      {"restorePreferences", {readInstallId}},
      {"savePreferences", {readInstallId}},
      {"setPreference", {readInstallId, readPrefName, readPrefType, readPrefValue}},
      {"startApplication", {readInstallId}},
      {"stopApplication", {readExecId}},
  };
  return s_methods;
}

// Every method takes it, and none needs it.
void readCallback(RequestDecoder& decoder, Record& request) {
  int callback = 0;
  if (decoder.getCallback(kCallback, callback) == Kelp::CommonReturnCode_Ok) {
    request.putDecimal(kCallback, callback);
  }
}

Fault decodeRequest(RequestDecoder& decoder, Record& request) {
  std::string name;
  if (decoder.getApi(name) != Kelp::CommonReturnCode_Ok) {
    return {400, Kelp::CommonReturnCode_InvalidProtocol, "the request has no methodName"};
  }
  const auto method = methods().find(name);
  if (method == methods().end()) {
    return faultOf(Kelp::CommonReturnCode_InvalidMethod);
  }
  request.putString(kMethodName, name);
  for (const ArgumentReader& readArgument : method->second) {
    const CommonReturnCode_t code = readArgument(decoder, request);
    if (code != Kelp::CommonReturnCode_Ok) {
      return {400, code, "an argument of " + name + " is missing or malformed"};
    }
  }
  readCallback(decoder, request);
  return {};
}

}  // namespace

Fault readRequest(const std::string& body, const std::string& requestFilePath, Record& request) {
  unlink(requestFilePath.c_str());  // left by a process that died with this process id
  Kelp::FileOperator file(requestFilePath, false);
  if (file.open(O_WRONLY | O_CREAT | O_EXCL, 0600) != 0) {
    return {500, Kelp::CommonReturnCode_IoError, "the request file cannot be made"};
  }
  file.setFileRemovalOnObjectDeletion(true);
  const int size = static_cast<int>(body.size());
  if (file.write(body.data(), size) != size) {
    return {500, Kelp::CommonReturnCode_IoError, "the request file cannot be written"};
  }
  Kelp::QueryStringParser parser(requestFilePath);
  RequestDecoder decoder(parser);
  return decodeRequest(decoder, request);
}

}  // namespace KelpExample
