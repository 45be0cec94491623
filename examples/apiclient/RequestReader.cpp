#include "apiclient/RequestReader.h"

#include <map>
#include <memory>
#include <vector>

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

CommonReturnCode_t readProcessId(RequestDecoder& decoder, Record& request) {
  int processId = 0;
  const CommonReturnCode_t code = decoder.getProcessId(kProcessId, processId);
  request.putDecimal(kProcessId, processId);
  return code;
}

// A binary record names the application's process where the other forms name the run.
CommonReturnCode_t readExecIdOrProcess(RequestDecoder& decoder, Record& request) {
  int execId = 0;
  if (decoder.getExecId(kExecId, execId) == Kelp::CommonReturnCode_Ok) {
    request.putDecimal(kExecId, execId);
    return Kelp::CommonReturnCode_Ok;
  }
  const CommonReturnCode_t code = readInstallId(decoder, request);
  return code == Kelp::CommonReturnCode_Ok ? readProcessId(decoder, request) : code;
}

CommonReturnCode_t readOptionalProcessId(RequestDecoder& decoder, Record& request) {
  int processId = 0;
  if (decoder.getProcessId(kProcessId, processId) == Kelp::CommonReturnCode_Ok) {
    request.putDecimal(kProcessId, processId);
  }
  return Kelp::CommonReturnCode_Ok;
}

CommonReturnCode_t readOptionalArgs(RequestDecoder& decoder, Record& request) {
  std::string args;
  if (decoder.getArgString(kArgs, args) == Kelp::CommonReturnCode_Ok) {
    request.putString(kArgs, args);
  }
  return Kelp::CommonReturnCode_Ok;
}

CommonReturnCode_t readOptionalResetCode(RequestDecoder& decoder, Record& request) {
  int resetCode = 0;
  if (decoder.getResetCode(kResetCode, resetCode) == Kelp::CommonReturnCode_Ok) {
    request.putDecimal(kResetCode, resetCode);
  }
  return Kelp::CommonReturnCode_Ok;
}

// Only looked at, as text or as the path of a file: what it decodes to is the core's business.
CommonReturnCode_t checkPackage(RequestDecoder& decoder, Record& /*request*/) {
  std::string package;
  const CommonReturnCode_t code = decoder.getArgString(kApplicationPackage, package);
  return code == Kelp::CommonReturnCode_Ok && package.empty() ? Kelp::CommonReturnCode_InvalidProtocol : code;
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
      {"initAllData", {readOptionalResetCode}},
      {"restorePreferences", {readInstallId}},
      {"savePreferences", {readInstallId}},
      {"setPreference", {readInstallId, readPrefName, readPrefType, readPrefValue}},
      {"startApplication", {readInstallId, readOptionalProcessId, readOptionalArgs}},
      {"stopApplication", {readExecIdOrProcess}},
      {"updateApplication", {readInstallId, checkPackage}},
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

Fault readRequest(RequestForm form, const std::string& filePath, Record& request) {
  const std::unique_ptr<Kelp::RpcParser> parser = makeParser(form, filePath);
  RequestDecoder decoder(*parser);
  request.putDecimal(kRequestForm, static_cast<int32_t>(form));
  return decodeRequest(decoder, request);
}

}  // namespace KelpExample
