#include "apiclient/JsonReply.h"

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

}  // namespace

void writeJsonReply(const Fault& fault, const Record& answer, const std::string& filePath) {
  Kelp::JsonSerializer serializer(filePath);
  if (fault.isSet()) {
    encodeFault(serializer, fault, answer);
  } else {
    encodeAnswer(serializer, answer);
  }
  serializer.doSerialize();
}

// The texts hold nothing that JSON would want escaped.
std::string plainJsonReply(const Fault& fault) {
  return "{\"faultCode\":\"" + std::to_string(fault.code) + "\",\"faultString\":\"" +
         Kelp::KelpReturnCode::getReturnCodeString(fault.code) + "\",\"faultDetail\":\"" + fault.detail + "\"}";
}

}  // namespace KelpExample
