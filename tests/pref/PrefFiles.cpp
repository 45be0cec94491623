#include "pref/PrefFiles.h"

namespace KelpTest {

std::string itemJson(const std::string& name, const std::string& type, const std::string& defaultValue,
                     const std::string& value, const std::string& more) {
  return R"({"prefName": ")" + name + R"(", "prefType": ")" + type + R"(", "defaultValue": ")" + defaultValue +
         R"(", "value": ")" + value + "\"" + more + "}";
}

std::string fileJson(const std::vector<std::string>& items) {
  std::string text = R"({"funcId": "0000A012", "preferenceVersion": {"major": "1", "minor": "2"}, "preference": [)";
  const char* separator = "";
  for (const std::string& item : items) {
    text += separator + item;
    separator = ", ";
  }
  return text + "]}";
}

std::string allTypesJson(const std::string& more) {
  return fileJson({itemJson("boolean", "Boolean", "FALSE", "TRUE", more),
                   itemJson("integer", "Integer", "1", "42", more),
                   itemJson("string", "String", "none", "front door", more),
                   itemJson("enumeration", "Enumeration", "auto", "off",
                            R"(, "enumerationList": ["auto", "manual", "off"])" + more),
                   itemJson("binary", "Binary", "", "TWFu", more)});
}

const char kAllTypesWritten[] = R"({
  "funcId":"0000A012",
  "preferenceVersion":{
    "major":"1",
    "minor":"2"
  },
  "preference":[
    {
      "prefName":"boolean",
      "prefType":"Boolean",
      "appApiAccess":"ReadWrite",
      "webApiAccess":"ReadWrite",
      "defaultValue":"FALSE",
      "value":"TRUE"
    },
    {
      "prefName":"integer",
      "prefType":"Integer",
      "appApiAccess":"ReadWrite",
      "webApiAccess":"ReadWrite",
      "defaultValue":"1",
      "value":"42"
    },
    {
      "prefName":"string",
      "prefType":"String",
      "appApiAccess":"ReadWrite",
      "webApiAccess":"ReadWrite",
      "defaultValue":"none",
      "value":"front door"
    },
    {
      "prefName":"enumeration",
      "prefType":"Enumeration",
      "enumerationList":[
        "auto",
        "manual",
        "off"
      ],
      "appApiAccess":"ReadWrite",
      "webApiAccess":"ReadWrite",
      "defaultValue":"auto",
      "value":"off"
    },
    {
      "prefName":"binary",
      "prefType":"Binary",
      "appApiAccess":"ReadWrite",
      "webApiAccess":"ReadWrite",
      "defaultValue":"",
      "value":"TWFu"
    }
  ]
})";

const char kDocumentedExample[] = R"({
  "funcId":"0000A012",
  "preferenceVersion":{
    "major":"1",
    "minor":"0"
  },
  "preference":[
    {
      "prefName":"mode",
      "prefType":"Enumeration",
      "enumerationList":[
        "auto",
        "manual"
      ],
      "appApiAccess":"ReadWrite",
      "webApiAccess":"Read",
      "defaultValue":"auto",
      "value":"manual"
    },
    {
      "prefName":"enabled",
      "prefType":"Boolean",
      "appApiAccess":"ReadWrite",
      "webApiAccess":"ReadWrite",
      "defaultValue":"TRUE",
      "value":"TRUE"
    }
  ]
})";

}  // namespace KelpTest
