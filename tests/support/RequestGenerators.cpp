#include "support/RequestGenerators.h"

#include <stdio.h>

namespace KelpTest {

const std::string kDisposition = "Content-Disposition: form-data; name=";

namespace {

constexpr char kUnreserved[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

std::string escaped(char character) {
  char text[4];
  snprintf(text, sizeof text, "%%%02x", static_cast<unsigned int>(static_cast<unsigned char>(character)));
  return text;
}

// Values that are often small.
uint32_t randomWord(RandomSource& random) {
  return random.oneIn(2) ? random.below(100) : random.word();
}

std::string randomBytes(RandomSource& random, std::size_t size, uint32_t nulPercent) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    const bool isNul = random.below(100) < nulPercent;
    byte = isNul ? '\0' : static_cast<char>(1 + random.below(255));
  }
  return bytes;
}

// The data of a part in lines, and what is left of it without the line ends.
struct WrappedData {
  std::string data;
  std::string value;
};

WrappedData randomWrappedData(RandomSource& random) {
  WrappedData wrapped;
  for (uint32_t line = random.below(5); line > 0; --line) {
    const uint32_t size = random.below(80);
    const std::string text = random.text(kBase64Digits, size);
    wrapped.value += text;
    wrapped.data += text;
    wrapped.data += random.oneIn(3) ? "\n" : "\r\n";
  }
  return wrapped;
}

void damageOnce(RandomSource& random, std::string& body) {
  const std::string odd = "\r\n\"-=X" + std::string(1, '\0');
  const std::size_t position = random.below(static_cast<uint32_t>(body.size()));
  switch (random.below(4)) {
    case 0:
      body[position] = random.oneOf(odd);
      break;
    case 1:
      body.erase(position, 1 + random.below(3));
      break;
    case 2:
      body.insert(position, 1, random.oneOf(odd));
      break;
    default:
      body.resize(random.oneIn(8) ? position : body.size());
      break;
  }
}

}  // namespace

std::string urlEncoded(const std::string& text) {
  std::string encoded;
  for (const char character : text) {
    const bool isPlain = character != '\0' && std::string_view(kUnreserved).find(character) != std::string_view::npos;
    encoded += isPlain ? std::string(1, character) : character == ' ' ? "+" : escaped(character);
  }
  return encoded;
}

std::string randomUrlEncoded(RandomSource& random, std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    if (!random.oneIn(5)) {
      text += random.oneOf(kUnreserved);
      continue;
    }
    const char character = random.byte();
    text += character == ' ' ? "+" : escaped(character);
  }
  return text;
}

std::string wellFormedQueryString(RandomSource& random, std::size_t members, uint32_t longestValue) {
  std::string body;
  for (std::size_t i = 0; i < members; ++i) {
    const uint32_t nameSize = 1 + random.below(12);
    body += (body.empty() ? "" : "&") + randomUrlEncoded(random, nameSize) + "=";
    const uint32_t valueSize = random.below(longestValue);
    body += randomUrlEncoded(random, valueSize);
  }
  return body;
}

std::string hostileQueryString(RandomSource& random, std::size_t size) {
  const std::string odd = std::string("%%%%%%&&&==+\r\n -+xX!*") + std::string(2, '\0');
  const std::vector<uint32_t> oddPercents = {1, 10, 50, 100};
  const uint32_t oddPercent = random.oneOf(oddPercents);
  std::string body;
  while (body.size() < size) {
    const bool isOdd = random.below(100) < oddPercent;
    const bool isAny = random.oneIn(3);
    const char character = isOdd   ? random.oneOf(odd)
                           : isAny ? random.byte()
                                   : random.oneOf("0123456789abcdefABCDEFghXYZ~");
    const bool isRun = random.oneIn(20);
    body += std::string(isRun ? random.below(30) : 1, character);
  }
  body.resize(size);
  return body;
}

std::string part(const std::string& name, const std::string& data) {
  return kDisposition + '"' + name + "\"\r\n\r\n" + data + "\r\n";
}

std::string form(const std::vector<std::string>& parts, const std::string& boundary) {
  std::string body = boundary;
  for (const std::string& each : parts) {
    body += "\r\n" + each + boundary;
  }
  return body + "--\r\n";
}

std::string randomBoundary(RandomSource& random) {
  const std::string dashes(2 + random.below(30), '-');
  const uint32_t size = 1 + random.below(60);
  return dashes + random.text(kBase64Digits, size);
}

WellFormedForm wellFormedForm(RandomSource& random) {
  WellFormedForm made;
  std::vector<std::string> parts;
  std::size_t offset = 0;
  const uint32_t count = random.below(6);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t nameSize = random.below(10);
    const std::string name = "m" + std::to_string(i) + random.text("abc-_ ", nameSize);
    const WrappedData wrapped = randomWrappedData(random);
    const std::string before = random.oneIn(8) ? "X-Header: 1\r\n" : "";
    const std::string file = random.oneIn(3) ? "; filename=\"a.pkg\"\r\nContent-Type: text/plain" : "";
    parts.push_back(before + kDisposition + '"' + name + '"' + file + "\r\n\r\n" + wrapped.data + "\r\n");
    made.members.push_back({name, offset, wrapped.value});
    offset += wrapped.value.size();
  }
  made.body = form(parts, randomBoundary(random));
  return made;
}

std::string scrambledForm(RandomSource& random, const std::string& boundary) {
  const std::string nul(1, '\0');
  const std::vector<std::string> pieces = {"\r\n",
                                           "\r\n",
                                           "\r",
                                           "\n",
                                           "\n\r",
                                           "\"",
                                           "-",
                                           "--",
                                           boundary,
                                           boundary + "--",
                                           "TWFu",
                                           "x",
                                           kDisposition,
                                           boundary + "\r\n" + part("a", "TWF"),
                                           part("b", "TW"),
                                           part("c-", ""),
                                           "Content-Type: y\r\n",
                                           nul,
                                           boundary.substr(0, boundary.size() - 1),
                                           kDisposition.substr(0, 30)};
  std::string body = boundary + (random.oneIn(10) ? "" : "\r\n");
  for (uint32_t count = random.below(20); count > 0; --count) {
    const std::string& piece = random.oneOf(pieces);
    body += piece == nul && !random.oneIn(4) ? "y" : piece;
  }
  return body + (random.oneIn(2) ? boundary + "--" : "");
}

std::string damagedForm(RandomSource& random) {
  std::string body = wellFormedForm(random).body;
  for (uint32_t count = 1 + random.below(4); count > 0 && !body.empty(); --count) {
    damageOnce(random, body);
  }
  return body;
}

std::string word(uint32_t value) {
  std::string bytes;
  for (unsigned int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(value >> shift);
  }
  return bytes;
}

std::string updateRecord(uint32_t installId, const std::string& path) {
  return word(0) + word(installId) + path + '\0';
}

std::string startRecord(uint32_t installId, uint32_t processId, std::string arguments, uint32_t callback) {
  arguments.resize(256, '\0');
  return word(3) + word(installId) + word(processId) + arguments + word(callback);
}

std::string stopRecord(uint32_t installId, uint32_t processId, uint32_t callback) {
  return word(4) + word(installId) + word(processId) + word(callback);
}

std::string wellFormedRecord(RandomSource& random) {
  const uint32_t method = random.below(5);
  const uint32_t first = randomWord(random);
  const uint32_t second = randomWord(random);
  const uint32_t third = randomWord(random);
  const uint32_t size = random.below(487);
  const std::string text = randomBytes(random, size, 0);
  switch (method) {
    case 0:
      return updateRecord(first, text);
    case 1:
      return startRecord(first, second, text.substr(0, 200), third);
    case 2:
      return stopRecord(first, second, third);
    case 3:
      return word(5) + word(first);
    default:
      return word(6);
  }
}

std::string hostileRecord(RandomSource& random) {
  const uint32_t code = random.oneIn(20) ? random.word() : random.below(8);
  const uint32_t near = random.below(30);
  const std::vector<uint32_t> sizes = {near, 256 + near, random.below(600), 480 + near};
  const std::vector<uint32_t> nulPercents = {0, 0, 1, 50};
  const uint32_t size = random.oneOf(sizes);
  const uint32_t nulPercent = random.oneOf(nulPercents);
  std::string record = word(code) + randomBytes(random, size, nulPercent);
  record.resize(random.oneIn(20) ? random.below(4) : record.size());
  return record;
}

}  // namespace KelpTest
