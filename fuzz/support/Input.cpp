#include "fuzz/support/Input.h"

#include <algorithm>

namespace KelpFuzz {

namespace {

constexpr uint8_t kLong = 251;
constexpr uint8_t kVeryLong = 252;
constexpr size_t kLongSize = 1000;
constexpr size_t kVeryLongSize = 43500;

}  // namespace

Input::Input(const uint8_t* data, size_t size) : m_pNext(data), m_pEnd(data + size) {}

uint8_t Input::byte() {
  return isEmpty() ? uint8_t{0} : *m_pNext++;
}

uint16_t Input::half() {
  return static_cast<uint16_t>(number(2));
}

uint32_t Input::word() {
  return static_cast<uint32_t>(number(4));
}

uint64_t Input::doubleWord() {
  return number(8);
}

uint64_t Input::number(unsigned int bytes) {
  uint64_t value = 0;
  for (unsigned int i = 0; i < bytes; ++i) {
    value |= uint64_t{byte()} << (8 * i);
  }
  return value;
}

std::string Input::text() {
  const uint8_t size = byte();
  if (size != kLong && size != kVeryLong) {
    return text(size);
  }
  const char character = static_cast<char>(byte());
  return std::string((size == kLong ? kLongSize : kVeryLongSize) + byte(), character);
}

std::string Input::text(size_t size) {
  const uint8_t* const from = m_pNext;
  m_pNext += std::min(size, static_cast<size_t>(m_pEnd - m_pNext));
  return std::string(from, m_pNext);
}

std::string Input::rest() {
  return text(static_cast<size_t>(m_pEnd - m_pNext));
}

}  // namespace KelpFuzz
