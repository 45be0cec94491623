// What the example programs say to each other: a list of named values, with structures and arrays around them where an
// answer needs them. The same record holds a request, an answer and an application's report.
//
// As bytes, each item is a head of three 32-bit words in the machine's byte order, followed by name and value:
//   offset 0   kind (ItemKind)
//   offset 4   length of the name in bytes
//   offset 8   length of the value in bytes
//   offset 12  the name, then the value: a text's bytes, or a number's 4 bytes; nothing for the begins and ends
//
// Any local process can write into a FIFO, so decode() believes nothing: lengths, kinds and nesting are checked.
#ifndef KELP_EXAMPLES_COMMON_RECORD_H
#define KELP_EXAMPLES_COMMON_RECORD_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace KelpExample {

enum class ItemKind : uint32_t {
  String = 1,
  Decimal = 2,      // a number that the web API writes in decimal digits
  Hexadecimal = 3,  // a number that it writes in hexadecimal digits
  BeginStruct = 4,
  EndStruct = 5,
  BeginArray = 6,
  EndArray = 7,
};

struct RecordItem {
  ItemKind kind;
  std::string name;
  std::string text;  // of a String
  int32_t number;    // of a Decimal or Hexadecimal
};

class Record {
 public:
  void putString(const std::string& name, const std::string& text);
  void putDecimal(const std::string& name, int32_t number);
  void putHexadecimal(const std::string& name, int32_t number);
  void beginStruct(const std::string& name);
  void endStruct();
  void beginArray(const std::string& name);
  void endArray();

  // The first item of that name outside all structures and arrays. Returns false, and leaves the value, when there is
  // none of the right kind.
  bool getString(const std::string& name, std::string& text) const;
  bool getNumber(const std::string& name, int32_t& number) const;

  const std::vector<RecordItem>& items() const;
  void append(const Record& other);

  std::string encode() const;

  // Returns false when the bytes are no well-formed record: cut, a kind that does not exist, a number that is not 4
  // bytes long, an end without its begin or a begin without its end, nesting deeper than kMaxDepth. `record` is then
  // empty. `data` may be null when `size` is 0, which is the empty record.
  static bool decode(const void* data, size_t size, Record& record);

  static constexpr size_t kMaxDepth = 8;

 private:
  const RecordItem* findOutermost(const std::string& name) const;

  std::vector<RecordItem> m_items;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_COMMON_RECORD_H
