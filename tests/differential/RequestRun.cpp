#include <stdlib.h>
#include <unistd.h>

#include <set>
#include <string>
#include <vector>

#include "ApplicationInfoList.h"
#include "Base64EncDec.h"
#include "BinaryParser.h"
#include "BinarySerializer.h"
#include "JsonSerializer.h"
#include "MultiPartParser.h"
#include "QueryStringParser.h"
#include "RequestDecoder.h"
#include "ResponseEncoder.h"
#include "ResponseEncoderForBinary.h"
#include "ResponseFaultEncoder.h"
#include "ResponseFaultEncoderForBinary.h"
#include "SysFunc.h"
#include "differential/RandomValues.h"
#include "differential/Runs.h"
#include "support/BinaryRecordReference.h"
#include "support/MultiPartReference.h"
#include "support/ParsedRequest.h"
#include "support/QueryStringReference.h"
#include "support/RequestGenerators.h"
#include "support/TextFile.h"

using Kelp::CommonReturnCode_t;

namespace KelpTest {

namespace {

constexpr char kRequest[] = "/tmp/request";
constexpr char kResponse[] = "/tmp/response";
constexpr char kOutput[] = "/tmp/output";
constexpr char kPackage[] = "/tmp/package";
constexpr int kUntouched = -12345;
constexpr std::size_t kMostNames = 8;

const std::vector<std::string>& decoderNames() {
  static const std::vector<std::string> names = {"methodName",  "installId", "funcId",   "execId",    "processId",
                                                 "appDataType", "resetCode", "callback", "argString", "prefName",
                                                 "prefValue",   "prefType",  "package",  "data"};
  return names;
}

// --- Requests

struct Field {
  std::string name;
  std::string value;
};

// The call of a method as clients make it, with values that are not always what the method takes.
std::vector<Field> randomCall(RandomSource& random) {
  const std::vector<std::string> methods = {"startApplication", "setPreference", "getApplicationList", ""};
  std::vector<Field> fields = {{"methodName", random.oneOf(methods)}};
  for (uint32_t count = random.below(10); count > 0; --count) {
    const std::string& name = random.oneOf(decoderNames());
    fields.push_back({name, randomValue(random)});
  }
  return fields;
}

std::string callAsQueryString(const std::vector<Field>& fields) {
  std::string body;
  for (const Field& field : fields) {
    body += (body.empty() ? "" : "&") + urlEncoded(field.name) + "=" + urlEncoded(field.value);
  }
  return body;
}

std::string callAsForm(const std::vector<Field>& fields, const std::string& boundary) {
  std::vector<std::string> parts;
  parts.reserve(fields.size());
  for (const Field& field : fields) {
    parts.push_back(part(field.name, field.value));
  }
  return form(parts, boundary);
}

// Long enough for everything that is done in blocks; not often, because transcripts are long then too.
bool isLarge(RandomSource& random) {
  return random.oneIn(40);
}

std::string largeQueryString(RandomSource& random) {
  const uint32_t size = random.below(30000);
  return random.oneIn(2) ? hostileQueryString(random, size) : wellFormedQueryString(random, 300, 60);
}

std::string largeForm(RandomSource& random, const std::string& boundary) {
  const uint32_t lines = random.below(400);
  std::string data;
  for (uint32_t i = 0; i < lines; ++i) {
    const uint32_t size = random.below(150);
    data += random.text(std::string(kBase64Digits) + "--", size) + "\r\n";
  }
  return form({part("large", data), part("behind", "TWFu")}, boundary);
}

std::string randomQueryString(RandomSource& random) {
  if (isLarge(random)) {
    return largeQueryString(random);
  }
  const uint32_t members = 1 + random.below(6);
  const uint32_t size = random.below(200);
  switch (random.below(3)) {
    case 0:
      return wellFormedQueryString(random, members, 40);
    case 1:
      return hostileQueryString(random, size);
    default:
      return callAsQueryString(randomCall(random));
  }
}

std::string randomForm(RandomSource& random) {
  const std::string boundary = randomBoundary(random);
  if (isLarge(random)) {
    return largeForm(random, boundary);
  }
  switch (random.below(4)) {
    case 0:
      return wellFormedForm(random).body;
    case 1:
      return scrambledForm(random, boundary);
    case 2:
      return damagedForm(random);
    default:
      return callAsForm(randomCall(random), boundary);
  }
}

std::string randomRecord(RandomSource& random) {
  const uint32_t installId = random.word();
  switch (random.below(3)) {
    case 0:
      return wellFormedRecord(random);
    case 1:
      return hostileRecord(random);
    default:
      writeText(kPackage, randomBase64Text(random));
      return updateRecord(installId, kPackage);
  }
}

// --- What the getters make of them

std::vector<std::string> namesOf(const std::vector<RequestMember>& members) {
  std::set<std::string> names = {"methodName", "absent"};
  for (const RequestMember& member : members) {
    if (names.size() < kMostNames) {
      names.insert(member.name);
    }
  }
  return {names.begin(), names.end()};
}

std::vector<std::string> namesIn(const Kelp::QueryStringParser& /*parser*/, const std::string& body) {
  return namesOf(QueryStringReference(body).members());
}

std::vector<std::string> namesIn(const Kelp::MultiPartParser& /*parser*/, const std::string& body) {
  return namesOf(MultiPartReference(body).members());
}

std::vector<std::string> namesIn(const Kelp::BinaryParser& /*parser*/, const std::string& body) {
  return namesOf(BinaryRecordReference(body).members());
}

void putValues(Transcript& transcript, Kelp::RpcParser& parser, const std::string& name) {
  int decimal = kUntouched;
  transcript.put("getDecimal", parser.getDecimal(name, decimal));
  transcript.put("decimal", decimal);
  int hexadecimal = kUntouched;
  transcript.put("getHexadecimal", parser.getHexadecimal(name, hexadecimal));
  transcript.put("hexadecimal", hexadecimal);
  std::string text = "untouched";
  transcript.put("getStringData", parser.getStringData(name, text));
  transcript.put("text", text);
}

void putDataInMemory(Transcript& transcript, Kelp::RpcParser& parser, const std::string& name) {
  void* data = nullptr;
  unsigned int size = 0;
  const CommonReturnCode_t result = parser.getBinaryData(name, data, size);
  transcript.put("getBinaryData", result);
  transcript.put("data", std::string_view(static_cast<const char*>(data), data == nullptr ? 0 : size));
  Kelp::SysFunc::kelpFree(data);
  transcript.count(result == Kelp::CommonReturnCode_Ok ? "data decoded" : "data refused");
}

void putDataInFile(Transcript& transcript, Kelp::RpcParser& parser, const std::string& name) {
  unlink(kOutput);
  transcript.put("getBinaryData to a file", parser.getBinaryData(name, kOutput));
  transcript.put("file", access(kOutput, F_OK) == 0 ? readText(kOutput) : "(none)");
}

template <typename Parser>
void putMember(RandomSource& random, Transcript& transcript, Parser& parser, const std::string& name) {
  transcript.put("name", name);
  long offset = kUntouched;
  const unsigned int size = parser.getMemberInfo(name, offset);
  transcript.put("size", size);
  transcript.put("offset", offset);
  putValues(transcript, parser, name);
  // An empty member's file comes from a shell, which takes its time.
  const bool isFileWanted = size != 0 || random.oneIn(10);
  if (random.oneIn(2)) {
    putDataInMemory(transcript, parser, name);
  } else if (isFileWanted) {
    putDataInFile(transcript, parser, name);
  }
}

void putDecoded(Transcript& transcript, Kelp::RpcParser& parser) {
  Kelp::RequestDecoder decoder(parser);
  std::string method = "untouched";
  transcript.put("getApi", decoder.getApi(method));
  transcript.put("method", method);
  int installId = kUntouched;
  transcript.put("getInstallId", decoder.getInstallId("installId", installId));
  transcript.put("installId", installId);
  int execId = kUntouched;
  transcript.put("getExecId", decoder.getExecId("execId", execId));
  transcript.put("execId", execId);
  std::string value = "untouched";
  transcript.put("getPrefValue", decoder.getPrefValue("prefValue", value));
  transcript.put("prefValue", value);
}

// --- Answers

void putJsonValue(RandomSource& random, Kelp::ResponseEncoder& encoder, Transcript& transcript) {
  const std::string name = "n" + std::to_string(random.below(20));
  int number = randomInt(random);
  auto large = static_cast<unsigned long long>(randomLongLong(random));
  std::string text = randomText(random, 40);
  std::string bytes = randomBytes(random, 40);
  auto size = static_cast<unsigned int>(bytes.size());
  auto code = static_cast<CommonReturnCode_t>(random.below(23));
  switch (random.below(10)) {
    case 0:
      transcript.put("putInstallId", encoder.putInstallId(name, number));
      break;
    case 1:
      transcript.put("putExecId", encoder.putExecId(name, number));
      break;
    case 2:
      transcript.put("putInteger", encoder.putInteger(name, large));
      break;
    case 3:
      transcript.put("putHexadecimal", encoder.getSerializer().putHexadecimal(name, large));
      break;
    case 4:
      transcript.put("putFaultCode", encoder.putFaultCode(name, code));
      break;
    case 5:
      transcript.put("putAppData", encoder.putAppData(name, bytes.data(), size));
      break;
    case 6:
      writeText(kOutput, bytes);
      transcript.put("putAppData of a file", encoder.putAppData(name, kOutput));
      break;
    default:
      transcript.put("putString", encoder.putString(name, text));
      break;
  }
}

// Opens and closes containers too, and not always the right ones. The root must not be closed.
void answerInJson(RandomSource& random, Transcript& transcript) {
  Kelp::JsonSerializer serializer(kResponse);
  Kelp::ResponseEncoder encoder(serializer);
  std::vector<char> open;
  for (uint32_t count = random.below(14); count > 0; --count) {
    const uint32_t step = random.below(8);
    if (step == 0) {
      transcript.put("beginStruct", encoder.beginStruct("s"));
      open.push_back('s');
    } else if (step == 1) {
      transcript.put("beginArray", encoder.beginArray("a"));
      open.push_back('a');
    } else if (step < 4 && !open.empty()) {
      const bool isStruct = step == 2;
      transcript.put("end", isStruct ? encoder.endStruct() : encoder.endArray());
      if (isStruct == (open.back() == 's')) {
        open.pop_back();
      }
    } else {
      putJsonValue(random, encoder, transcript);
    }
  }
  transcript.put("doSerialize", serializer.doSerialize());
  transcript.count("answer in JSON");
}

Kelp::ApplicationInfoList_t randomApplication(RandomSource& random) {
  Kelp::ApplicationInfoList_t application;
  application.firstWord = randomInt(random);
  application.secondWord = randomInt(random);
  application.text = randomText(random, 12);
  for (int& value : application.words) {
    value = randomInt(random);
  }
  for (uint32_t count = random.below(7); count > 0; --count) {
    const int first = randomInt(random);
    const int second = randomInt(random);
    application.pairs.emplace_back(first, second);
  }
  for (uint32_t count = random.below(70); count > 0; --count) {
    const int number = randomInt(random);
    application.slots.emplace_back(number, randomText(random, 80));
  }
  return application;
}

void answerWithList(RandomSource& random, Transcript& transcript, Kelp::ResponseEncoderForBinary& encoder) {
  const int number = randomInt(random);
  std::vector<Kelp::ApplicationInfoList_t> applications(random.below(3));
  for (Kelp::ApplicationInfoList_t& application : applications) {
    application = randomApplication(random);
  }
  transcript.put("putParamForGetAppList", encoder.putParamForGetAppList(number, applications));
}

// What the file held before stays behind the answer.
void answerInBinary(RandomSource& random, Transcript& transcript) {
  writeText(kResponse, randomBytes(random, 10));
  const auto code = static_cast<CommonReturnCode_t>(random.below(23));
  Kelp::BinarySerializer serializer(kResponse);
  Kelp::ResponseEncoderForBinary encoder(serializer);
  Kelp::ResponseFaultEncoderForBinary faultEncoder(serializer);
  switch (random.below(6)) {
    case 0:
      transcript.put("putParamForInitAllData", encoder.putParamForInitAllData(code));
      break;
    case 1:
      transcript.put("putParamForUpdateApplication", encoder.putParamForUpdateApplication(code));
      break;
    case 2:
      transcript.put("putParamForStartApp", encoder.putParamForStartApp());
      break;
    case 3:
      transcript.put("putParamForReturnCodeError", faultEncoder.putParamForReturnCodeError(code));
      break;
    default:
      answerWithList(random, transcript, encoder);
      break;
  }
  transcript.count("answer in binary records");
}

// The arithmetic of sizes, which wraps round in 32 bits.
void putSizes(RandomSource& random, Transcript& transcript) {
  const Kelp::Base64EncDec codec;
  const uint32_t size = random.word();
  transcript.put("encodeSize", codec.encodeSize(size));
  transcript.put("decodeMaxSize", codec.decodeMaxSize(size));
}

void answer(RandomSource& random, Transcript& transcript) {
  if (random.oneIn(3)) {
    answerInBinary(random, transcript);
  } else {
    answerInJson(random, transcript);
  }
  transcript.put("response", readText(kResponse));
  unlink(kResponse);
}

template <typename Parser>
void runRequest(RandomSource& random, Transcript& transcript, const char* form, const std::string& body) {
  transcript.put(form, body);
  writeText(kRequest, body);
  Parser parser(kRequest);
  transcript.put("state", stateOf(parser));
  transcript.count(form + std::string(stateOf(parser) == State::Done ? " parsed" : " refused"));
  putDecoded(transcript, parser);
  for (const std::string& name : namesIn(parser, body)) {
    putMember(random, transcript, parser, name);
  }
}

}  // namespace

void runRequests(RandomSource& random, Transcript& transcript, int count) {
  for (int i = 0; i < count; ++i) {
    transcript.begin("request", i);
    switch (random.below(3)) {
      case 0:
        runRequest<Kelp::QueryStringParser>(random, transcript, "query string", randomQueryString(random));
        break;
      case 1:
        runRequest<Kelp::MultiPartParser>(random, transcript, "form", randomForm(random));
        break;
      default:
        runRequest<Kelp::BinaryParser>(random, transcript, "record", randomRecord(random));
        break;
    }
    answer(random, transcript);
    putSizes(random, transcript);
    transcript.put("escaped", Kelp::JsonSerializer::escapeString(randomText(random, 30)));
    transcript.putLog();
  }
}

}  // namespace KelpTest
