// A second opinion on binary records: the record's table row by row, with the C library's formatter.
#ifndef KELP_TESTS_SUPPORT_BINARY_RECORD_REFERENCE_H
#define KELP_TESTS_SUPPORT_BINARY_RECORD_REFERENCE_H

#include <stdint.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/ParsedRequest.h"

namespace KelpTest {

class BinaryRecordReference {
 public:
  explicit BinaryRecordReference(std::string record);

  State state() const { return m_state; }
  const std::vector<RequestMember>& members() const { return m_members; }

 private:
  State run();
  void takeFields(uint32_t code);
  uint32_t wordAt(std::size_t offset) const;
  void add(const char* member, const std::string& value);
  void number(const char* member, const std::string& format, std::size_t offset);
  void text(const char* member, std::size_t offset, std::size_t last);

  const std::string m_record;
  bool m_isBad = false;
  std::size_t m_total = 0;  // bytes of all values
  std::vector<RequestMember> m_members;
  State m_state;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_BINARY_RECORD_REFERENCE_H
