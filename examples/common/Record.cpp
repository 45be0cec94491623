#include "common/Record.h"

#include <string.h>

namespace KelpExample {

namespace {

struct ItemHead {
  uint32_t kind;
  uint32_t nameSize;
  uint32_t valueSize;
};

bool isNumber(ItemKind kind) {
  return kind == ItemKind::Decimal || kind == ItemKind::Hexadecimal;
}

bool isBegin(ItemKind kind) {
  return kind == ItemKind::BeginStruct || kind == ItemKind::BeginArray;
}

bool isEnd(ItemKind kind) {
  return kind == ItemKind::EndStruct || kind == ItemKind::EndArray;
}

std::string valueBytes(const RecordItem& item) {
  if (isNumber(item.kind)) {
    return std::string(reinterpret_cast<const char*>(&item.number), sizeof(item.number));
  }
  return item.text;
}

void appendItem(const RecordItem& item, std::string& bytes) {
  const std::string value = valueBytes(item);
  const ItemHead head = {static_cast<uint32_t>(item.kind), static_cast<uint32_t>(item.name.size()),
                         static_cast<uint32_t>(value.size())};
  bytes.append(reinterpret_cast<const char*>(&head), sizeof(head));
  bytes += item.name;
  bytes += value;
}

// Takes bytes from the front of a block and never more than there are.
class ByteReader {
 public:
  ByteReader(const void* data, size_t size) : m_pData(static_cast<const char*>(data)), m_size(size) {}

  bool isAtEnd() const { return m_size == 0; }

  bool take(void* to, size_t size) {
    if (size > m_size) {
      return false;
    }
    memcpy(to, m_pData, size);
    skip(size);
    return true;
  }

  bool take(std::string& to, size_t size) {
    if (size > m_size) {
      return false;
    }
    to.assign(m_pData, size);
    skip(size);
    return true;
  }

 private:
  void skip(size_t size) {
    m_pData += size;
    m_size -= size;
  }

  const char* m_pData;
  size_t m_size;
};

bool hasValidHead(const ItemHead& head) {
  const auto kind = static_cast<ItemKind>(head.kind);
  if (kind < ItemKind::String || kind > ItemKind::EndArray) {
    return false;
  }
  if (isNumber(kind)) {
    return head.valueSize == sizeof(RecordItem::number);
  }
  return kind == ItemKind::String || head.valueSize == 0;
}

bool takeItem(ByteReader& reader, RecordItem& item) {
  ItemHead head;
  if (!reader.take(&head, sizeof(head)) || !hasValidHead(head)) {
    return false;
  }
  item.kind = static_cast<ItemKind>(head.kind);
  item.number = 0;
  if (!reader.take(item.name, head.nameSize)) {
    return false;
  }
  return isNumber(item.kind) ? reader.take(&item.number, sizeof(item.number)) : reader.take(item.text, head.valueSize);
}

// Follows the begins and ends of a record.
class Nesting {
 public:
  bool accept(ItemKind kind) {
    if (isBegin(kind)) {
      m_open.push_back(kind);
      return m_open.size() <= Record::kMaxDepth;
    }
    if (!isEnd(kind)) {
      return true;
    }
    const ItemKind begin = kind == ItemKind::EndStruct ? ItemKind::BeginStruct : ItemKind::BeginArray;
    if (m_open.empty() || m_open.back() != begin) {
      return false;
    }
    m_open.pop_back();
    return true;
  }

  bool isOutermost() const { return m_open.empty(); }

 private:
  std::vector<ItemKind> m_open;
};

}  // namespace

void Record::putString(const std::string& name, const std::string& text) {
  m_items.push_back({ItemKind::String, name, text, 0});
}

void Record::putDecimal(const std::string& name, int32_t number) {
  m_items.push_back({ItemKind::Decimal, name, "", number});
}

void Record::putHexadecimal(const std::string& name, int32_t number) {
  m_items.push_back({ItemKind::Hexadecimal, name, "", number});
}

void Record::beginStruct(const std::string& name) {
  m_items.push_back({ItemKind::BeginStruct, name, "", 0});
}

void Record::endStruct() {
  m_items.push_back({ItemKind::EndStruct, "", "", 0});
}

void Record::beginArray(const std::string& name) {
  m_items.push_back({ItemKind::BeginArray, name, "", 0});
}

void Record::endArray() {
  m_items.push_back({ItemKind::EndArray, "", "", 0});
}

bool Record::getString(const std::string& name, std::string& text) const {
  const RecordItem* item = findOutermost(name);
  if (item == nullptr || item->kind != ItemKind::String) {
    return false;
  }
  text = item->text;
  return true;
}

bool Record::getNumber(const std::string& name, int32_t& number) const {
  const RecordItem* item = findOutermost(name);
  if (item == nullptr || !isNumber(item->kind)) {
    return false;
  }
  number = item->number;
  return true;
}

const std::vector<RecordItem>& Record::items() const {
  return m_items;
}

void Record::append(const Record& other) {
  m_items.insert(m_items.end(), other.m_items.begin(), other.m_items.end());
}

std::string Record::encode() const {
  std::string bytes;
  for (const RecordItem& item : m_items) {
    appendItem(item, bytes);
  }
  return bytes;
}

bool Record::decode(const void* data, size_t size, Record& record) {
  record.m_items.clear();
  std::vector<RecordItem> items;
  ByteReader reader(data, size);
  Nesting nesting;
  while (!reader.isAtEnd()) {
    RecordItem item;
    if (!takeItem(reader, item) || !nesting.accept(item.kind)) {
      return false;
    }
    items.push_back(std::move(item));
  }
  if (!nesting.isOutermost()) {
    return false;
  }
  record.m_items = std::move(items);
  return true;
}

const RecordItem* Record::findOutermost(const std::string& name) const {
  Nesting nesting;
  for (const RecordItem& item : m_items) {
    if (nesting.isOutermost() && item.name == name && !isEnd(item.kind)) {
      return &item;
    }
    nesting.accept(item.kind);
  }
  return nullptr;
}

}  // namespace KelpExample
