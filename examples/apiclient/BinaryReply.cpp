#include "apiclient/BinaryReply.h"

#include <stdint.h>

#include <functional>
#include <map>
#include <vector>

#include "ApplicationInfoList.h"
#include "BinarySerializer.h"
#include "ResponseEncoderForBinary.h"
#include "ResponseFaultEncoderForBinary.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

using Kelp::ApplicationInfoList_t;
using Kelp::ResponseEncoderForBinary;

enum Slot { Slot_Name = 0, Slot_Report = 1 };

int statusNumber(const std::string& text) {
  const char* const kTexts[] = {"stopped", "starting", "running", "stopping"};
  int number = 0;
  for (const char* const known : kTexts) {
    if (text == known) {
      return number;
    }
    ++number;
  }
  return -1;
}

std::pair<int, int>& process(ApplicationInfoList_t& entry) {
  entry.pairs.resize(1);
  return entry.pairs[0];
}

void takeItem(const RecordItem& item, ApplicationInfoList_t& entry) {
  static const std::map<std::string, std::function<void(const RecordItem&, ApplicationInfoList_t&)>> s_takers = {
      {kInstallId, [](const RecordItem& i, ApplicationInfoList_t& e) { e.firstWord = i.number; }},
      {kFuncId, [](const RecordItem& i, ApplicationInfoList_t& e) { e.secondWord = i.number; }},
      {kAppVersion, [](const RecordItem& i, ApplicationInfoList_t& e) { e.text = i.text; }},
      {kStatus, [](const RecordItem& i, ApplicationInfoList_t& e) { e.words[0] = statusNumber(i.text); }},
      {kReportCount, [](const RecordItem& i, ApplicationInfoList_t& e) { e.words[1] = i.number; }},
      {kExecId, [](const RecordItem& i, ApplicationInfoList_t& e) { process(e).first = i.number; }},
      {kProcessId, [](const RecordItem& i, ApplicationInfoList_t& e) { process(e).second = i.number; }},
      {kAppName, [](const RecordItem& i, ApplicationInfoList_t& e) { e.slots.emplace_back(Slot_Name, i.text); }},
      {kReportText, [](const RecordItem& i, ApplicationInfoList_t& e) { e.slots.emplace_back(Slot_Report, i.text); }},
  };
  const auto taker = s_takers.find(item.name);
  if (taker != s_takers.end()) {
    taker->second(item, entry);
  }
}

std::vector<ApplicationInfoList_t> applicationsIn(const Record& answer) {
  std::vector<ApplicationInfoList_t> applications;
  for (const RecordItem& item : answer.items()) {
    if (item.kind == ItemKind::BeginStruct) {
      applications.push_back({});
    } else if (!applications.empty()) {
      takeItem(item, applications.back());
    }
  }
  return applications;
}

void encodeAnswer(const std::string& methodName, const Record& answer, ResponseEncoderForBinary& encoder) {
  if (methodName == "getApplicationList") {
    const std::vector<ApplicationInfoList_t> applications = applicationsIn(answer);
    encoder.putParamForGetAppList(static_cast<int>(applications.size()), applications);
  } else if (methodName == "startApplication") {
    encoder.putParamForStartApp();
  } else if (methodName == "stopApplication") {
    encoder.putParamForStopApp();
  } else if (methodName == "updateApplication") {
    encoder.putParamForUpdateApplication(Kelp::CommonReturnCode_Ok);
  } else if (methodName == "initAllData") {
    encoder.putParamForInitAllData(Kelp::CommonReturnCode_Ok);
  }
}

}  // namespace

void writeBinaryReply(const std::string& methodName, const Fault& fault, const Record& answer,
                      const std::string& filePath) {
  Kelp::BinarySerializer serializer(filePath);
  if (fault.isSet()) {
    Kelp::ResponseFaultEncoderForBinary(serializer).putParamForReturnCodeError(fault.code);
    return;
  }
  ResponseEncoderForBinary encoder(serializer);
  encodeAnswer(methodName, answer, encoder);
}

// All codes are below 256: the word's other bytes are 0.
std::string plainBinaryReply(const Fault& fault) {
  std::string word(sizeof(int32_t), '\0');
  word[0] = static_cast<char>(fault.code);
  return word;
}

}  // namespace KelpExample
