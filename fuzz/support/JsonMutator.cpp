#include "fuzz/support/JsonMutator.h"

#include <json-c/json.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed);

namespace KelpFuzz {

namespace {

struct JsonPut {
  void operator()(json_object* object) const { json_object_put(object); }
};
using Json = std::unique_ptr<json_object, JsonPut>;

// What has a meaning in a preference file.
const char* const kTexts[] = {"prefName",
                              "prefType",
                              "enumerationList",
                              "appApiAccess",
                              "webApiAccess",
                              "defaultValue",
                              "value",
                              "funcId",
                              "preferenceVersion",
                              "major",
                              "minor",
                              "preference",
                              "appPreferenceCrc",
                              "Boolean",
                              "Integer",
                              "String",
                              "Enumeration",
                              "Binary",
                              "ReadWrite",
                              "Read",
                              "None",
                              "TRUE",
                              "FALSE",
                              "true",
                              "0",
                              "1",
                              "2",
                              "-1",
                              "0000A012",
                              "FFFFFFFF",
                              "100000000",
                              "9223372036854775807",
                              "9223372036854775808",
                              "0x10",
                              "010",
                              "TWFu",
                              "TQ==",
                              "TWE",
                              "boolean",
                              "integer",
                              "string",
                              "enumeration",
                              "binary",
                              "auto",
                              "manual",
                              "off",
                              ""};
constexpr size_t kLongText = 1025;

// A place in the tree that a value can be put at.
struct Place {
  json_object* container;
  std::string key;  // in an object
  size_t index;     // in an array
};

class Mutation {
 public:
  explicit Mutation(unsigned int seed) : m_random(seed) {}

  bool isHeads() { return m_random() % 2 == 0; }

  // Changes the tree at one to four places.
  void change(json_object* root) {
    for (size_t count = 1 + m_random() % 4; count > 0; --count) {
      std::vector<Place> places;
      collect(root, places);
      if (places.empty()) {
        places.push_back({root, "preference", 0});
      }
      changeAt(places[m_random() % places.size()], places[m_random() % places.size()]);
    }
  }

 private:
  static void collect(json_object* container, std::vector<Place>& places) {
    if (json_object_is_type(container, json_type_object) != 0) {
      json_object_object_foreach(container, key, value) {
        places.push_back({container, key, 0});
        collect(value, places);
      }
    } else if (json_object_is_type(container, json_type_array) != 0) {
      for (size_t i = 0; i < json_object_array_length(container); ++i) {
        places.push_back({container, "", i});
        collect(json_object_array_get_idx(container, i), places);
      }
    }
  }

  static json_object* valueAt(const Place& place) {
    return json_object_is_type(place.container, json_type_array) != 0
               ? json_object_array_get_idx(place.container, place.index)
               : json_object_object_get(place.container, place.key.c_str());
  }

  static void put(const Place& place, json_object* value) {
    if (json_object_is_type(place.container, json_type_array) != 0) {
      json_object_array_put_idx(place.container, place.index, value);
    } else {
      json_object_object_add(place.container, place.key.c_str(), value);
    }
  }

  // Null for null, which is no object to json-c.
  static json_object* copyOf(json_object* value) {
    json_object* copy = nullptr;
    json_object_deep_copy(value, &copy, nullptr);
    return copy;
  }

  void changeAt(const Place& place, const Place& other) {
    switch (m_random() % 8) {
      case 0:
        return drop(place);
      case 1:
        return put(place, copyOf(valueAt(other)));
      case 2:
        return duplicate(place);
      case 3:
        return put(place, otherKind());
      case 4:
        return put({place.container, knownText(), place.index}, newText());
      default:
        return put(place, changedText(valueAt(place)));
    }
  }

  static void drop(const Place& place) {
    if (json_object_is_type(place.container, json_type_array) != 0) {
      json_object_array_del_idx(place.container, place.index, 1);
    } else {
      json_object_object_del(place.container, place.key.c_str());
    }
  }

  void duplicate(const Place& place) {
    json_object* const copy = copyOf(valueAt(place));
    if (json_object_is_type(place.container, json_type_array) != 0) {
      json_object_array_add(place.container, copy);
    } else {
      json_object_object_add(place.container, knownText().c_str(), copy);
    }
  }

  json_object* otherKind() {
    switch (m_random() % 6) {
      case 0:
        return nullptr;
      case 1:
        return json_object_new_boolean(isHeads() ? 1 : 0);
      case 2:
        return json_object_new_int64(static_cast<int64_t>(m_random()) - static_cast<int64_t>(m_random()));
      case 3:
        return json_object_new_double(0.5);
      case 4:
        return json_object_new_array();
      default:
        return json_object_new_object();
    }
  }

  json_object* newText() {
    if (m_random() % 16 == 0) {
      return json_object_new_string(std::string(kLongText - m_random() % 3, 'x').c_str());
    }
    return json_object_new_string(knownText().c_str());
  }

  json_object* changedText(json_object* value) {
    if (json_object_is_type(value, json_type_string) == 0 || m_random() % 3 == 0) {
      return newText();
    }
    std::string text(json_object_get_string(value), static_cast<size_t>(json_object_get_string_len(value)));
    const size_t size = text.size();
    text.resize(size + 16);
    text.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(text.data()), size, text.size()));
    return json_object_new_string_len(text.data(), static_cast<int>(text.size()));
  }

  std::string knownText() { return kTexts[m_random() % std::size(kTexts)]; }

  std::minstd_rand m_random;
};

}  // namespace

}  // namespace KelpFuzz

// Every other time, where the input is JSON; else bytes are changed as ever.
size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
  using KelpFuzz::kJsonOffset;
  KelpFuzz::Mutation mutation(seed);
  if (size <= kJsonOffset || mutation.isHeads()) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  const std::string text(data + kJsonOffset, data + size);
  const KelpFuzz::Json root(json_tokener_parse(text.c_str()));
  if (root == nullptr || json_object_is_type(root.get(), json_type_object) == 0) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  mutation.change(root.get());
  size_t length = 0;
  const char* const changed = json_object_to_json_string_length(root.get(), JSON_C_TO_STRING_PLAIN, &length);
  if (kJsonOffset + length > maxSize) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  memcpy(data + kJsonOffset, changed, length);
  return kJsonOffset + length;
}
