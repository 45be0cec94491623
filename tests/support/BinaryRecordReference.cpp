#include "support/BinaryRecordReference.h"

#include <stdio.h>

#include <utility>

namespace KelpTest {

BinaryRecordReference::BinaryRecordReference(std::string record) : m_record(std::move(record)), m_state(run()) {}

State BinaryRecordReference::run() {
  if (m_record.size() < 4) {
    return State::Error;
  }
  takeFields(wordAt(0));
  return m_isBad || m_total >= 512 ? State::Error : State::Done;
}

void BinaryRecordReference::takeFields(uint32_t code) {
  switch (code) {
    case 0:
      add("methodName", "updateApplication");
      number("installId", "%08X", 4);
      return text("applicationPackage", 8, m_record.size());
    case 3:
      add("methodName", "startApplication");
      number("installId", "%08X", 4);
      number("processId", "%d", 8);
      number("callback", "%d", 268);
      return text("args", 12, 267);
    case 4:
      add("methodName", "stopApplication");
      number("installId", "%08X", 4);
      number("processId", "%d", 8);
      return number("callback", "%d", 12);
    case 5:
      add("methodName", "initAllData");
      return number("resetCode", "%d", 4);
    case 6:
      return add("methodName", "getApplicationList");
    default:
      m_isBad = true;
  }
}

uint32_t BinaryRecordReference::wordAt(std::size_t offset) const {
  uint32_t value = 0;
  for (std::size_t i = 4; i > 0; --i) {
    value = value << 8 | static_cast<unsigned char>(m_record[offset + i - 1]);
  }
  return value;
}

void BinaryRecordReference::add(const char* member, const std::string& value) {
  m_members.push_back({member, m_total, value});
  m_total += value.size();
}

void BinaryRecordReference::number(const char* member, const std::string& format, std::size_t offset) {
  if (m_record.size() < offset + 4) {
    m_isBad = true;
    return;
  }
  char formatted[32];
  if (format == "%d") {
    snprintf(formatted, sizeof(formatted), "%d", static_cast<int>(wordAt(offset)));
  } else {
    snprintf(formatted, sizeof(formatted), "%08X", wordAt(offset));
  }
  add(member, formatted);
}

// A NUL has to stand at `last` or before; the file's end is as good.
void BinaryRecordReference::text(const char* member, std::size_t offset, std::size_t last) {
  const std::size_t nul = m_record.find('\0', offset);
  const std::size_t end = nul == std::string::npos ? m_record.size() : nul;
  if (offset > m_record.size() || end > last) {
    m_isBad = true;
    return;
  }
  add(member, m_record.substr(offset, end - offset));
}

}  // namespace KelpTest
