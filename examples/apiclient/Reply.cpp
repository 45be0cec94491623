#include "apiclient/Reply.h"

#include <fcntl.h>
#include <unistd.h>

#include "FdOperator.h"
#include "FileOperator.h"
#include "JsonSerializer.h"
#include "ResponseEncoder.h"
#include "ResponseFaultEncoder.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

void encodeItem(Kelp::RpcEncoder& encoder, RecordItem item) {
  switch (item.kind) {
    case ItemKind::String:
      encoder.putString(item.name, item.text);
      return;
    case ItemKind::Decimal:
      encoder.putInteger(item.name, item.number);
      return;
    case ItemKind::Hexadecimal:
      encoder.putInstallId(item.name, item.number);
      return;
    case ItemKind::BeginStruct:
      encoder.beginStruct(item.name);
      return;
    case ItemKind::EndStruct:
      encoder.endStruct();
      return;
    case ItemKind::BeginArray:
      encoder.beginArray(item.name);
      return;
    case ItemKind::EndArray:
      encoder.endArray();
      return;
  }
}

void encodeAnswer(Kelp::RpcSerializer& serializer, const Record& answer) {
  Kelp::ResponseEncoder encoder(serializer);
  for (const RecordItem& item : answer.items()) {
    encodeItem(encoder, item);
  }
}

void encodeFault(Kelp::RpcSerializer& serializer, Fault fault, const Record& answer) {
  Kelp::ResponseFaultEncoder encoder(serializer);
  encoder.putFaultCode("faultCode", fault.code);
  encoder.putFaultString("faultString", Kelp::KelpReturnCode::getReturnCodeString(fault.code));
  if (!fault.detail.empty()) {
    encoder.putString("faultDetail", fault.detail);
  }
  int callback;
  if (answer.getNumber(kCallback, callback)) {
    encoder.putInteger(kCallback, callback);
  }
}

// The serializer ends the process when it cannot open its file: made here first, it cannot be missing there.
bool makeFile(Kelp::FileOperator& file) {
  unlink(file.getPath().c_str());  // left by a process that died with this process id
  if (file.open(O_RDWR | O_CREAT | O_EXCL, 0600) != 0) {
    return false;
  }
  file.setFileRemovalOnObjectDeletion(true);
  return true;
}

// A full disk leaves the file empty: there is no other sign of it.
bool makeText(const Fault& fault, const Record& answer, const std::string& responseFilePath, std::string& text) {
  Kelp::FileOperator file(responseFilePath, false);
  if (!makeFile(file)) {
    return false;
  }
  Kelp::JsonSerializer serializer(responseFilePath);
  if (fault.isSet()) {
    encodeFault(serializer, fault, answer);
  } else {
    encodeAnswer(serializer, answer);
  }
  serializer.doSerialize();
  text.resize(static_cast<size_t>(file.size()));
  const int size = static_cast<int>(text.size());
  return size > 0 && file.readNoTimeout(&text[0], size) == size && text.back() == '}';
}

// What is left to say when not even a file can be written; the texts hold nothing that JSON would want escaped.
std::string plainText(const Fault& fault) {
  return "{\"faultCode\":\"" + std::to_string(fault.code) + "\",\"faultString\":\"" +
         Kelp::KelpReturnCode::getReturnCodeString(fault.code) + "\",\"faultDetail\":\"" + fault.detail + "\"}";
}

std::string head(int httpStatus, size_t size) {
  return "Status: " + std::to_string(httpStatus) + " " + httpReason(httpStatus) +
         "\r\nContent-Type: application/json\r\nCache-Control: no-store\r\nContent-Length: " + std::to_string(size) +
         "\r\n\r\n";
}

}  // namespace

bool printReply(const Fault& fault, const Record& answer, const std::string& responseFilePath) {
  Fault told = fault;
  std::string text;
  if (!makeText(fault, answer, responseFilePath, text)) {
    if (!told.isSet()) {
      told = {500, Kelp::CommonReturnCode_IoError, "the response file cannot be written"};
    }
    text = plainText(told);
  }
  const std::string reply = head(told.httpStatus, text.size()) + text;
  const int size = static_cast<int>(reply.size());
  return Kelp::FdOperator(STDOUT_FILENO, false).write(reply.data(), size) == size;
}

}  // namespace KelpExample
