#include "apiclient/Reply.h"

#include <fcntl.h>
#include <unistd.h>

#include "FdOperator.h"
#include "FileOperator.h"
#include "apiclient/BinaryReply.h"
#include "apiclient/JsonReply.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

bool isBinary(const CallResult& result) {
  return result.form == RequestForm::Binary;
}

// A serializer may end the process when it cannot open its file: made here first, it cannot be missing there.
bool makeFile(Kelp::FileOperator& file) {
  unlink(file.getPath().c_str());  // left by a process that died with this process id
  if (file.open(O_RDWR | O_CREAT | O_EXCL, 0600) != 0) {
    return false;
  }
  file.setFileRemovalOnObjectDeletion(true);
  return true;
}

void writeReply(const CallResult& result, const std::string& filePath) {
  if (!isBinary(result)) {
    writeJsonReply(result.fault, result.answer, filePath);
    return;
  }
  std::string methodName;
  result.request.getString(kMethodName, methodName);
  writeBinaryReply(methodName, result.fault, result.answer, filePath);
}

// A full disk leaves the file empty or cut: there is no other sign of it. Records are whole words.
bool isWhole(const CallResult& result, const std::string& text) {
  return isBinary(result) ? text.size() % sizeof(int32_t) == 0 : text.back() == '}';
}

bool makeText(const CallResult& result, const std::string& responseFilePath, std::string& text) {
  Kelp::FileOperator file(responseFilePath, false);
  if (!makeFile(file)) {
    return false;
  }
  writeReply(result, responseFilePath);
  text.resize(static_cast<size_t>(file.size()));
  const int size = static_cast<int>(text.size());
  return size > 0 && file.readNoTimeout(&text[0], size) == size && isWhole(result, text);
}

std::string head(const CallResult& result, size_t size) {
  const int httpStatus = result.fault.httpStatus;
  return "Status: " + std::to_string(httpStatus) + " " + httpReason(httpStatus) +
         "\r\nContent-Type: " + (isBinary(result) ? "application/octet-stream" : "application/json") +
         "\r\nCache-Control: no-store\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n";
}

}  // namespace

bool printReply(const CallResult& result, const std::string& responseFilePath) {
  CallResult told = result;
  std::string text;
  if (!makeText(told, responseFilePath, text)) {
    if (!told.fault.isSet()) {
      told.fault = {500, Kelp::CommonReturnCode_IoError, "the response file cannot be written"};
    }
    text = isBinary(told) ? plainBinaryReply(told.fault) : plainJsonReply(told.fault);
  }
  const std::string reply = head(told, text.size()) + text;
  const int size = static_cast<int>(reply.size());
  return Kelp::FdOperator(STDOUT_FILENO, false).write(reply.data(), size) == size;
}

}  // namespace KelpExample
