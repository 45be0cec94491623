// The input is what a process has written into a FIFO of the example programs: a record as bytes.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include "common/Record.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"

namespace {

using KelpExample::Record;
using KelpExample::RecordItem;

constexpr uint32_t kString = 1;
constexpr uint32_t kDecimal = 2;
constexpr uint32_t kHexadecimal = 3;
constexpr uint32_t kBeginStruct = 4;
constexpr uint32_t kEndStruct = 5;
constexpr uint32_t kBeginArray = 6;
constexpr uint32_t kEndArray = 7;
constexpr size_t kDeepest = 8;

struct Item {
  uint32_t kind;
  std::string name;
  std::string value;
  bool isOutermost;
};

bool isNumber(const Item& item) {
  return item.kind == kDecimal || item.kind == kHexadecimal;
}

bool hasNeededSize(uint32_t kind, size_t size) {
  switch (kind) {
    case kString:
      return true;
    case kDecimal:
    case kHexadecimal:
      return size == 4;
    default:
      return size == 0;
  }
}

// A second opinion: which items the bytes are, and whether they are a record at all.
bool takeApart(const std::string& bytes, std::vector<Item>& items) {
  std::string open;  // a letter for each begin that has no end yet
  size_t offset = 0;
  while (offset < bytes.size()) {
    uint32_t head[3];
    if (bytes.size() - offset < sizeof(head)) {
      return false;
    }
    memcpy(head, &bytes[offset], sizeof(head));
    offset += sizeof(head);
    if (uint64_t{head[1]} + head[2] > bytes.size() - offset || head[0] < kString || head[0] > kEndArray ||
        !hasNeededSize(head[0], head[2])) {
      return false;
    }
    items.push_back({head[0], bytes.substr(offset, head[1]), bytes.substr(offset + head[1], head[2]), open.empty()});
    offset += size_t{head[1]} + head[2];
    if (head[0] == kBeginStruct || head[0] == kBeginArray) {
      open += head[0] == kBeginStruct ? 's' : 'a';
    } else if (head[0] == kEndStruct || head[0] == kEndArray) {
      if (open.empty() || open.back() != (head[0] == kEndStruct ? 's' : 'a')) {
        return false;
      }
      open.pop_back();
    }
    if (open.size() > kDeepest) {
      return false;
    }
  }
  return open.empty();
}

int32_t numberOf(const Item& item) {
  int32_t number = 0;
  memcpy(&number, item.value.data(), sizeof(number));
  return number;
}

// The first of that name counts, whatever it is.
const Item* findOutermost(const std::vector<Item>& items, const std::string& name) {
  for (const Item& item : items) {
    if (item.isOutermost && item.name == name) {
      return &item;
    }
  }
  return nullptr;
}

void checkGetters(const Record& record, const std::vector<Item>& items, const std::string& name) {
  const Item* const item = findOutermost(items, name);
  std::string text = "untouched";
  const bool isText = item != nullptr && item->kind == kString;
  FUZZ_CHECK_EQ(record.getString(name, text), isText);
  FUZZ_CHECK_EQ(text, isText ? item->value : std::string("untouched"));
  int32_t number = -12345;
  const bool hasNumber = item != nullptr && isNumber(*item);
  FUZZ_CHECK_EQ(record.getNumber(name, number), hasNumber);
  FUZZ_CHECK_EQ(number, hasNumber ? numberOf(*item) : -12345);
}

void checkItems(const Record& record, const std::vector<Item>& items) {
  FUZZ_CHECK_EQ(record.items().size(), items.size());
  for (size_t i = 0; i < items.size(); ++i) {
    const RecordItem& actual = record.items()[i];
    FUZZ_CHECK_EQ(static_cast<uint32_t>(actual.kind), items[i].kind);
    FUZZ_CHECK_EQ(actual.name, items[i].name);
    FUZZ_CHECK_EQ(actual.text, isNumber(items[i]) ? std::string() : items[i].value);
    FUZZ_CHECK_EQ(actual.number, isNumber(items[i]) ? numberOf(items[i]) : 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes = KelpFuzz::Input(data, size).rest();
  std::vector<Item> items;
  const bool isRecord = takeApart(bytes, items);
  Record record;
  record.putString("earlier", "content");
  FUZZ_CHECK_EQ(Record::decode(data, size, record), isRecord);
  if (!isRecord) {
    FUZZ_CHECK(record.items().empty());
    return 0;
  }
  checkItems(record, items);
  checkGetters(record, items, "absent");
  for (const Item& item : items) {
    checkGetters(record, items, item.name);
  }
  FUZZ_CHECK(record.encode() == bytes);
  return 0;
}
