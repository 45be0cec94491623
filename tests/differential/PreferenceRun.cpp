#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "AppPref.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefList.h"
#include "crcCalculator.h"
#include "differential/RandomValues.h"
#include "differential/Runs.h"
#include "support/TextFile.h"

using Kelp::AppPrefList;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;

namespace KelpTest {

namespace {

constexpr char kPath[] = "/tmp/appPrefs.json";
constexpr char kSavedPath[] = "/tmp/savedPrefs.json";
constexpr int kFuncId = 0xA012;

// --- Files

const std::vector<std::string>& prefNames() {
  static const std::vector<std::string> names = {"mode", "enabled", "label", "level", "data", "m\xC3\xB6", "absent"};
  return names;
}

const std::vector<std::string>& typeTexts() {
  static const std::vector<std::string> texts = {"Boolean", "Integer", "String", "Enumeration", "Binary"};
  return texts;
}

std::string hexText(unsigned int number) {
  char text[16];
  snprintf(text, sizeof text, "%08X", number);
  return text;
}

// As JSON holds a text. What has no escape of its own stands as it is or, now and then, by its code.
std::string quoted(RandomSource& random, const std::string& text) {
  std::string result = "\"";
  for (const char character : text) {
    const auto number = static_cast<unsigned int>(static_cast<unsigned char>(character));
    char code[8];
    snprintf(code, sizeof code, "\\u%04x", number);
    const bool isSpecial = character == '"' || character == '\\' || number < ' ';
    const bool isCoded = random.oneIn(30);
    result += isSpecial || isCoded ? std::string(code) : std::string(1, character);
  }
  return result + "\"";
}

// One that the type takes, mostly.
std::string randomValueOf(RandomSource& random, const std::string& type) {
  const std::vector<std::string> flags = {"TRUE", "FALSE", "TRUE", "FALSE", "true", "false", "True", ""};
  const std::vector<std::string> elements = {"auto", "manual", "off", "", "other"};
  if (random.oneIn(12)) {
    return randomValue(random);
  }
  if (type == "Boolean") {
    return random.oneOf(flags);
  }
  if (type == "Integer") {
    return random.oneIn(4) ? randomNumberText(random) : std::to_string(randomLongLong(random));
  }
  if (type == "Enumeration") {
    return random.oneOf(elements);
  }
  if (type == "Binary") {
    return randomBase64Text(random);
  }
  const bool isLong = random.oneIn(15);
  return isLong ? std::string(1022 + random.below(5), 'x') : randomText(random, 30);
}

// Texts are also allowed to be numbers, or nothing.
std::string valueJson(RandomSource& random, const std::string& text) {
  const std::vector<std::string> others = {"12",   "-7",   "1e3", "0.1", "9223372036854775808",
                                           "true", "null", "{}",  "[1]"};
  if (random.oneIn(40)) {
    return random.oneOf(others);
  }
  return quoted(random, text);
}

std::string randomItem(RandomSource& random, const std::string& name) {
  const std::vector<std::string> accesses = {"ReadWrite", "ReadWrite", "ReadWrite", "Read", "None"};
  const std::string type = random.oneIn(40) ? "Float" : random.oneOf(typeTexts());
  std::string json = "{\"prefName\":" + valueJson(random, name);
  json += ",\"prefType\":" + valueJson(random, type);
  if (type == "Enumeration" && !random.oneIn(20)) {
    json += R"(,"enumerationList":["auto","manual","off",)" + quoted(random, random.oneIn(2) ? "auto" : "") + "]";
  }
  if (!random.oneIn(4)) {
    const std::string access = random.oneIn(30) ? "None" : random.oneOf(accesses);
    json += ",\"appApiAccess\":" + quoted(random, access == "None" ? "Read" : access);
  }
  if (!random.oneIn(4)) {
    const std::string access = random.oneOf(accesses);
    json += ",\"webApiAccess\":" + quoted(random, access);
  }
  const std::string defaultValue = randomValueOf(random, type);
  json += ",\"defaultValue\":" + valueJson(random, defaultValue);
  if (!random.oneIn(30)) {
    const std::string value = type == "Boolean" && !random.oneIn(10) ? "TRUE" : randomValueOf(random, type);
    json += ",\"value\":" + valueJson(random, value);
  }
  return json + "}";
}

std::string randomFile(RandomSource& random) {
  const std::vector<std::string> funcIds = {"0000A012", "A012", "FFFFFFFF", "0x1A", "A012x", "", "123456789AB"};
  const std::string funcId = random.oneIn(4) ? random.oneOf(funcIds) : "0000A012";
  const std::string major = random.oneIn(10) ? randomNumberText(random) : "1";
  const std::string minor = random.oneIn(4) ? randomNumberText(random) : "2";
  std::string json = "{\"funcId\":" + valueJson(random, funcId) + ",\n";
  json += "\"preferenceVersion\":{\"major\":" + valueJson(random, major);
  json += ",\"minor\":" + valueJson(random, minor) + "},\n\"preference\":[";
  const uint32_t first = random.below(3);
  const uint32_t count = random.below(5);
  for (uint32_t i = 0; i < count; ++i) {
    const std::string& name = random.oneIn(30) ? prefNames().front() : prefNames()[(first + i) % prefNames().size()];
    json += (i > 0 ? ",\n" : "") + randomItem(random, name);
  }
  return json + "]}";
}

// Some bytes lost, changed or repeated.
std::string damaged(RandomSource& random, std::string json) {
  for (uint32_t count = 1 + random.below(3); count > 0 && !json.empty(); --count) {
    const uint32_t position = random.below(static_cast<uint32_t>(json.size()));
    const uint32_t size = random.below(20);
    switch (random.below(4)) {
      case 0:
        json.erase(position, size);
        break;
      case 1:
        json[position] = random.byte();
        break;
      case 2:
        json.insert(position, json.substr(position, size));
        break;
      default:
        json.resize(random.oneIn(3) ? position : json.size());
        break;
    }
  }
  return json;
}

// --- What the list makes of them

void putItem(Transcript& transcript, const Kelp::AppPref& pref) {
  transcript.put("item", pref.getPrefName());
  transcript.put("type", pref.getPrefType());
  transcript.put("default", pref.getDefaultValue());
  transcript.put("access of the application", pref.getAppApiAccess());
  transcript.put("access of the web API", pref.getWebApiAccess());
  transcript.put("value", pref.getValueByString());
  transcript.put("error", pref.hasError() ? 1 : 0);
  transcript.put("json", pref.makeJsonString("\t"));
  if (pref.getPrefType() == Kelp::AppPrefType_Integer) {
    transcript.put("number", static_cast<const Kelp::AppPrefInteger&>(pref).getValue());
  }
  if (pref.getPrefType() == Kelp::AppPrefType_Enumeration) {
    transcript.put("index", static_cast<const Kelp::AppPrefEnumeration&>(pref).getValue());
  }
}

void putList(Transcript& transcript, const AppPrefList& list) {
  transcript.put("list's error", list.hasError() ? 1 : 0);
  transcript.put("funcId", list.getFuncId());
  transcript.put("major", list.getMajorPrefVersion());
  transcript.put("minor", list.getMinorPrefVersion());
  for (const Kelp::AppPref* pref : list.getPrefList()) {
    putItem(transcript, *pref);
  }
}

void putChanged(Transcript& transcript, const std::vector<std::string>& changed) {
  for (const std::string& name : changed) {
    transcript.put("changed", name);
  }
}

std::string canonicalText(const AppPrefList& list) {
  std::string text;
  list.getAppPrefJsonStringForCRC(text);
  return text;
}

unsigned short crcOf(const std::string& text) {
  return Kelp::crcCalculator::getCRC(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

struct Item {
  std::string name;
  std::string type;
};

// One of the list's, mostly.
Item randomItemOf(RandomSource& random, const AppPrefList& list) {
  const std::string& name = random.oneOf(prefNames());
  const std::string& type = random.oneOf(typeTexts());
  const std::vector<Kelp::AppPref*> prefs(list.getPrefList().begin(), list.getPrefList().end());
  if (prefs.empty() || random.oneIn(6)) {
    return {name, type};
  }
  const Kelp::AppPref* const pref = random.oneOf(prefs);
  return {pref->getPrefName(), Kelp::AppPref::getPrefTypeString(pref->getPrefType())};
}

CommonReturnCode_t setByItsType(AppPrefList& list, const Item& item, const std::string& value, long long number) {
  const auto index = static_cast<int>(number % 6);  // from -5 to 5
  if (item.type == "Boolean") {
    return list.setBoolean(item.name, index > 0);
  }
  if (item.type == "Integer") {
    return list.setInteger(item.name, number);
  }
  if (item.type == "Enumeration") {
    return list.setEnumeration(item.name, index);
  }
  return item.type == "String" ? list.setString(item.name, value) : list.setBinary(item.name, value);
}

void change(RandomSource& random, Transcript& transcript, AppPrefList& list) {
  const Item item = randomItemOf(random, list);
  const std::string value = randomValueOf(random, item.type);
  const long long number = randomLongLong(random);
  const uint32_t way = random.below(3);
  const CommonReturnCode_t result = way == 0   ? list.restoreValue(item.name, value, item.type)
                                    : way == 1 ? list.setValue(item.name, value, item.type)
                                               : setByItsType(list, item, value, number);
  transcript.put("set", item.name + " " + item.type + " " + value);
  transcript.put("result", result);
  transcript.count(result == CommonReturnCode_Ok ? "value set" : "value refused");
}

void write(Transcript& transcript, const AppPrefList& list) {
  transcript.put("writeFile", list.writeFile(kPath));
  transcript.put("file", readText(kPath));
  transcript.put("temporary file left", access((std::string(kPath) + "~").c_str(), F_OK) == 0 ? 1 : 0);
}

// The list's own text with its checksum, in one of the forms that are understood; sometimes neither is right.
std::string savedText(RandomSource& random, const AppPrefList& list) {
  const std::string text = canonicalText(list);
  const unsigned int crc = crcOf(text) + (random.oneIn(10) ? 1U : 0U);
  char octal[16];
  snprintf(octal, sizeof octal, "0%o", crc);
  const std::vector<std::string> forms = {std::to_string(crc), "0x" + hexText(crc), octal, "x", "-1"};
  const std::string form = random.oneIn(8) ? random.oneOf(forms) : forms[random.below(3)];
  const std::string saved = "{\"appPreferenceCrc\":\"" + form + "\"," + text.substr(text.empty() ? 0 : 1);
  return random.oneIn(8) ? damaged(random, saved) : saved;
}

void restore(RandomSource& random, Transcript& transcript, AppPrefList& list) {
  AppPrefList saved(list);
  for (uint32_t count = random.below(4); count > 0; --count) {
    change(random, transcript, saved);
  }
  const std::string text = savedText(random, saved);
  transcript.put("saved", text);
  writeText(kSavedPath, text);
  std::vector<std::string> changed;
  const CommonReturnCode_t result = list.AppPrefRestore(kSavedPath, &changed);
  transcript.put("AppPrefRestore", result);
  transcript.count(result == CommonReturnCode_Ok ? "restored" : "restore refused");
  putChanged(transcript, changed);
  transcript.put("file", readText(kPath));
}

// Whatever another file holds, as saved preferences.
void restoreOther(RandomSource& random, Transcript& transcript, AppPrefList& list) {
  writeText(kSavedPath, randomFile(random));
  const AppPrefList other(kSavedPath, false, kFuncId);
  const std::string text = savedText(random, other);
  transcript.put("saved", text);
  writeText(kSavedPath, text);
  std::vector<std::string> changed;
  transcript.put("AppPrefRestore of another", list.AppPrefRestore(kSavedPath, &changed));
  putChanged(transcript, changed);
}

void runFile(RandomSource& random, Transcript& transcript) {
  const bool isDefaultFile = random.oneIn(4);
  std::string json = randomFile(random);
  if (random.oneIn(4)) {
    json = damaged(random, json);
  }
  transcript.put("file", json);
  writeText(kPath, json);
  AppPrefList list(kPath, isDefaultFile, kFuncId);
  transcript.count(list.hasError() ? "file refused" : "file loaded");
  putList(transcript, list);
  for (uint32_t count = random.below(6); count > 0; --count) {
    change(random, transcript, list);
  }
  write(transcript, list);
  restore(random, transcript, list);
  restoreOther(random, transcript, list);
  std::vector<std::string> changed;
  list.setDefaultValue(&changed);
  putChanged(transcript, changed);
  putList(transcript, list);
  transcript.put("checksum", crcOf(canonicalText(list)));
}

}  // namespace

void runPreferences(RandomSource& random, Transcript& transcript, int count) {
  for (int i = 0; i < count; ++i) {
    transcript.begin("preference file", i);
    runFile(random, transcript);
    transcript.putLog();
  }
}

}  // namespace KelpTest
