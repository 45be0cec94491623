// The input is a response: a byte of which bit 0 leaves the response unwritten, then operations, each a byte and the
// texts (Input::text()) or numbers that it takes. What was written is parsed by json-c and compared with what was put.
#include <json-c/json.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <algorithm>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "JsonSerializer.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/Platform.h"
#include "support/Base64Reference.h"

namespace {

using Kelp::CommonReturnCode_InvalidParameter;
using Kelp::CommonReturnCode_InvalidProtocol;
using Kelp::CommonReturnCode_IoError;
using Kelp::CommonReturnCode_Ok;
using Kelp::CommonReturnCode_t;
using Kelp::JsonSerializer;
using KelpFuzz::Input;

constexpr int kDeepest = 10000;  // more than an input has bytes
constexpr char kRootAssertion[] = "1 < m_jsonObj.size()";

struct JsonPut {
  void operator()(json_object* object) const { json_object_put(object); }
};
using Json = std::unique_ptr<json_object, JsonPut>;

enum class Kind { Structure, Array, Text };

struct Node {
  Kind kind;
  std::string text;
  std::list<std::pair<std::string, Node>> children;
};

// The response as it is to be.
class Model {
 public:
  Model() : m_root{Kind::Structure, "", {}}, m_open{&m_root}, m_openKinds{Kind::Structure} {}

  const Node& root() const { return m_root; }

  Node& add(const std::string& name, Kind kind, const std::string& text = "") {
    auto& children = m_open.back()->children;
    const std::string key = m_open.back()->kind == Kind::Array ? "" : name.c_str();  // to its first NUL
    const auto same =
        m_open.back()->kind == Kind::Array
            ? children.end()
            : std::find_if(children.begin(), children.end(), [&](const auto& child) { return child.first == key; });
    if (same != children.end()) {
      same->second = {kind, text.c_str(), {}};
      return same->second;
    }
    children.push_back({key, {kind, text.c_str(), {}}});
    return children.back().second;
  }

  void begin(const std::string& name, Kind kind) {
    Node& node = add(name, kind);
    m_open.push_back(&node);
    m_openKinds.push_back(kind);
  }

  bool isInnermost(Kind kind) const { return !m_openKinds.empty() && m_openKinds.back() == kind; }
  bool isRootInnermost() const { return m_open.size() == 1; }

  void end() {
    m_open.pop_back();
    m_openKinds.pop_back();
  }

  // Writing the response out drops the innermost kind, and nothing else.
  void write() { m_openKinds.pop_back(); }

 private:
  Node m_root;
  std::vector<Node*> m_open;
  std::vector<Kind> m_openKinds;
};

// --- Comparing

void checkSame(json_object* actual, const Node& expected);

void checkStructure(json_object* actual, const Node& expected) {
  FUZZ_CHECK_EQ(static_cast<size_t>(json_object_object_length(actual)), expected.children.size());
  auto child = expected.children.begin();
  json_object_object_foreach(actual, key, value) {
    FUZZ_CHECK_EQ(std::string(key), child->first);
    checkSame(value, child->second);
    ++child;
  }
}

void checkArray(json_object* actual, const Node& expected) {
  FUZZ_CHECK_EQ(json_object_array_length(actual), expected.children.size());
  size_t index = 0;
  for (const auto& child : expected.children) {
    checkSame(json_object_array_get_idx(actual, index++), child.second);
  }
}

void checkSame(json_object* actual, const Node& expected) {
  switch (json_object_get_type(actual)) {
    case json_type_object:
      FUZZ_CHECK(expected.kind == Kind::Structure);
      return checkStructure(actual, expected);
    case json_type_array:
      FUZZ_CHECK(expected.kind == Kind::Array);
      return checkArray(actual, expected);
    default:  // there are no numbers
      FUZZ_CHECK(expected.kind == Kind::Text);
      FUZZ_CHECK_EQ(static_cast<int>(json_object_get_type(actual)), static_cast<int>(json_type_string));
      FUZZ_CHECK_EQ(std::string(json_object_get_string(actual)), expected.text);
  }
}

void checkWritten(const std::string& text, const Node& expected) {
  json_tokener* const tokener = json_tokener_new_ex(kDeepest);
  const Json root(json_tokener_parse_ex(tokener, text.data(), static_cast<int>(text.size())));
  FUZZ_CHECK_EQ(json_tokener_get_parse_end(tokener), text.size());
  json_tokener_free(tokener);
  checkSame(root.get(), expected);
}

// --- Escaping, which stands by itself

std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '"':
      case '\\':
      case '/':
        result += std::string("\\") + character;
        break;
      case '\b':
        result += "\\b";
        break;
      case '\f':
        result += "\\f";
        break;
      case '\n':
        result += "\\n";
        break;
      case '\r':
        result += "\\r";
        break;
      case '\t':
        result += "\\t";
        break;
      default:
        result += character;
    }
  }
  return result;
}

// --- Writing

std::string formatted(const char* format, unsigned int value) {
  char text[32];
  // A literal of the callers', which each has a place for one number of 32 bits.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  snprintf(text, sizeof(text), format, value);
#pragma GCC diagnostic pop
  return text;
}

class Response {
 public:
  Response(const std::string& path, KelpFuzz::MemoryFile& dataFile)
      : m_path(path), m_dataFile(dataFile), m_serializer(std::make_unique<JsonSerializer>(path)) {}

  // Ends where the input does, or at an assertion, behind which there would be no process.
  void run(Input& input) {
    const bool isWritten = input.byte() % 2 == 0;
    while (!input.isEmpty() && !m_isOver) {
      change(input);
    }
    if (isWritten && !m_isOver) {
      write();
    }
    m_serializer.reset();
    FUZZ_CHECK_EQ(KelpFuzz::readFile(m_path), m_written.value_or(""));
  }

 private:
  void change(Input& input) {
    const uint8_t operation = input.byte();
    switch (operation % 16) {
      case 0:
        return end(Kind::Structure);
      case 1:
        return end(Kind::Array);
      case 2:
        return write();
      default:
        return put(operation % 16, input.text(), input);
    }
  }

  void put(int operation, const std::string& name, Input& input) {
    switch (operation) {
      case 3:
        return begin(name, Kind::Structure);
      case 4:
        return begin(name, Kind::Array);
      case 5:
      case 6:
        return putInteger(name, static_cast<int>(input.word()), operation == 5);
      case 7:
      case 8:
        return putLarge(name, input.doubleWord(), operation == 7);
      case 9:
        return putBlock(name, input.text());
      case 10:
        return putFile(name, input.text());
      case 11:
        return putMissing(name);
      default:
        return putText(name, input.text());
    }
  }

  void begin(const std::string& name, Kind kind) {
    FUZZ_CHECK_EQ(kind == Kind::Structure ? m_serializer->beginStruct(name) : m_serializer->beginArray(name),
                  CommonReturnCode_Ok);
    m_model.begin(name, kind);
  }

  void end(Kind kind) {
    const bool isRoot = m_model.isInnermost(kind) && m_model.isRootInnermost();
    const CommonReturnCode_t expected =
        m_model.isInnermost(kind) ? CommonReturnCode_Ok : CommonReturnCode_InvalidProtocol;
    const std::string assertion = KelpFuzz::assertionOf([&] {
      FUZZ_CHECK_EQ(kind == Kind::Structure ? m_serializer->endStruct() : m_serializer->endArray(), expected);
    });
    FUZZ_CHECK_EQ(assertion, std::string(isRoot ? kRootAssertion : ""));
    m_isOver = isRoot;
    if (expected == CommonReturnCode_Ok && !isRoot) {
      m_model.end();
    }
  }

  // Once only: the stream is gone then.
  void write() {
    if (m_written) {
      return;
    }
    FUZZ_CHECK_EQ(m_serializer->doSerialize(), CommonReturnCode_Ok);
    m_written = KelpFuzz::readFile(m_path);
    checkWritten(*m_written, m_model.root());
    m_model.write();
  }

  void putInteger(const std::string& name, int value, bool isDecimal) {
    int copy = value;
    FUZZ_CHECK_EQ(isDecimal ? m_serializer->putDecimal(name, copy) : m_serializer->putHexadecimal(name, copy),
                  CommonReturnCode_Ok);
    FUZZ_CHECK_EQ(copy, value);
    m_model.add(name, Kind::Text, formatted(isDecimal ? "%d" : "%08X", static_cast<unsigned int>(value)));
  }

  // Shown as signed, or by its low half alone.
  void putLarge(const std::string& name, unsigned long long value, bool isDecimal) {
    unsigned long long copy = value;
    FUZZ_CHECK_EQ(isDecimal ? m_serializer->putDecimal(name, copy) : m_serializer->putHexadecimal(name, copy),
                  CommonReturnCode_Ok);
    FUZZ_CHECK_EQ(copy, value);
    m_model.add(name, Kind::Text,
                isDecimal ? std::to_string(static_cast<long long>(value))
                          : formatted("00000000%08X", static_cast<unsigned int>(value)));
  }

  void putText(const std::string& name, const std::string& value) {
    FUZZ_CHECK_EQ(m_serializer->putStringData(name, value), CommonReturnCode_Ok);
    FUZZ_CHECK_EQ(JsonSerializer::escapeString(value), escaped(value));
    m_model.add(name, Kind::Text, value);
  }

  void putBlock(const std::string& name, const std::string& bytes) {
    const auto block = std::make_unique<char[]>(bytes.size());  // not null where there are no bytes, either
    std::copy(bytes.begin(), bytes.end(), block.get());
    auto size = static_cast<unsigned int>(bytes.size());
    FUZZ_CHECK_EQ(m_serializer->putBinaryData(name, block.get(), size), CommonReturnCode_Ok);
    FUZZ_CHECK_EQ(size, bytes.size());
    m_model.add(name, Kind::Text, KelpTest::encodedBitByBit(bytes));
  }

  void putFile(const std::string& name, const std::string& bytes) {
    m_dataFile.write(bytes);
    FUZZ_CHECK_EQ(m_serializer->putBinaryData(name, m_dataFile.path()), CommonReturnCode_Ok);
    m_model.add(name, Kind::Text, KelpTest::encodedBitByBit(bytes));
  }

  void putMissing(const std::string& name) {
    unsigned int size = 0;
    FUZZ_CHECK_EQ(m_serializer->putBinaryData(name, nullptr, size), CommonReturnCode_InvalidParameter);
    FUZZ_CHECK_EQ(m_serializer->putBinaryData(name, KelpFuzz::pathOf("missing")), CommonReturnCode_IoError);
  }

  const std::string m_path;
  KelpFuzz::MemoryFile& m_dataFile;
  std::unique_ptr<JsonSerializer> m_serializer;
  Model m_model;
  std::optional<std::string> m_written;
  bool m_isOver = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KelpFuzz::MemoryFile s_dataFile("data");
  const KelpFuzz::Residue residue;
  Input input(data, size);
  Response(KelpFuzz::pathOf("response"), s_dataFile).run(input);
  return 0;
}
