// A request in URL-encoded form, opened, mapped, decoded and closed, beside a plain decoder that walks the same mapping
// character by character with one table and notes where the members stand.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "QueryStringParser.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/PrivateNamespace.h"

using namespace KelpBench;

namespace {

constexpr char kRequestFile[] = "/tmp/Kelp/request";
constexpr std::size_t kBytesPerRound = 64U << 20U;
constexpr std::size_t kMostRepetitions = 10000;
constexpr std::size_t kLarge = 8U << 20U;

// --- The floor

enum Kind : unsigned char { Plain, Blank, Escape, LineEnd, ValueEnd };

struct Tables {
  Kind kind[256] = {};
  unsigned char digit[256] = {};

  Tables() {
    setKind("+", Blank);
    setKind("%", Escape);
    setKind("\r\n", LineEnd);
    setKind("&", ValueEnd);
    const std::string lower = "0123456789abcdef";
    const std::string upper = "0123456789ABCDEF";
    for (unsigned char value = 0; value < 16; ++value) {
      digit[static_cast<unsigned char>(lower[value])] = value;
      digit[static_cast<unsigned char>(upper[value])] = value;
    }
  }

  void setKind(const std::string& characters, Kind value) {
    for (const char character : characters) {
      kind[static_cast<unsigned char>(character)] = value;
    }
  }
};

const Tables kTables;

struct Member {
  unsigned int nameOffset;
  unsigned int nameSize;
  unsigned int offset;
  unsigned int size;
};

class PlainDecoder {
 public:
  PlainDecoder(unsigned char* text, std::size_t size)
      : m_pStart(text), m_pRead(text), m_pEnd(text + size), m_pWrite(text) {}

  std::vector<Member> run() {
    std::vector<Member> members;
    while (m_pRead != m_pEnd) {
      const unsigned int name = written();
      takeName();
      const unsigned int value = written();
      takeValue();
      members.push_back({name, value - name, value, written() - value});
    }
    return members;
  }

 private:
  unsigned int written() const { return static_cast<unsigned int>(m_pWrite - m_pStart); }

  unsigned char take() {
    const unsigned char character = *m_pRead;
    switch (kTables.kind[character]) {
      case Blank:
        ++m_pRead;
        return ' ';
      case Escape: {
        const bool isWhole = m_pEnd - m_pRead >= 3;
        const int value = isWhole ? kTables.digit[m_pRead[1]] * 16 + kTables.digit[m_pRead[2]] : 0;
        m_pRead = isWhole ? m_pRead + 3 : m_pEnd;
        return static_cast<unsigned char>(value);
      }
      default:
        ++m_pRead;
        return character;
    }
  }

  void takeName() {
    while (m_pRead != m_pEnd) {
      const unsigned char character = take();
      if (character == '=') {
        return;
      }
      *m_pWrite++ = character;
    }
  }

  void takeValue() {
    while (m_pRead != m_pEnd) {
      switch (kTables.kind[*m_pRead]) {
        case ValueEnd:
          ++m_pRead;
          return;
        case LineEnd:
          ++m_pRead;
          break;
        default:
          *m_pWrite++ = take();
      }
    }
  }

  unsigned char* m_pStart;
  unsigned char* m_pRead;
  unsigned char* m_pEnd;
  unsigned char* m_pWrite;
};

std::size_t decodePlainly() {
  const int fd = open(kRequestFile, O_RDONLY | O_CLOEXEC);
  struct stat status;
  require(fd != -1 && fstat(fd, &status) == 0, "open and fstat");
  const auto size = static_cast<std::size_t>(status.st_size);
  void* const text = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
  require(text != MAP_FAILED, "mmap");
  const std::size_t members = PlainDecoder(static_cast<unsigned char*>(text), size).run().size();
  munmap(text, size);
  close(fd);
  return members;
}

void parseWithKelp() {
  const Kelp::QueryStringParser parser(kRequestFile);
}

// --- The requests

// Random text; of 100 characters, `escapes` are escapes and half as many blanks.
std::string randomValue(std::mt19937& random, std::size_t size, unsigned int escapes) {
  const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  const std::string digits = "0123456789ABCDEF";
  std::string value;
  while (value.size() < size) {
    const std::size_t dice = random() % 100;
    if (dice < escapes) {
      value += std::string("%") + digits[random() % 16] + digits[random() % 16];
    } else {
      value += dice < escapes + escapes / 2 ? '+' : plain[random() % plain.size()];
    }
  }
  return value;
}

std::string requestOf(std::size_t size, std::size_t valueSize, unsigned int escapes) {
  std::mt19937 random(1);
  std::string request;
  while (request.size() < size) {
    request += request.empty() ? "" : "&";
    request += "member" + std::to_string(request.size()) + "=";
    request += randomValue(random, std::min(valueSize, size), escapes);
  }
  request.resize(size);
  return request;
}

// --- The measurement

template <typename Parse>
double nanosecondsPerRequest(std::size_t size, Parse parse) {
  const std::size_t repetitions = std::min(kBytesPerRound / size, kMostRepetitions);
  const int64_t start = processCpuNanoseconds();
  for (std::size_t i = 0; i < repetitions; ++i) {
    parse();
  }
  return static_cast<double>(processCpuNanoseconds() - start) / static_cast<double>(repetitions);
}

template <typename Parse>
double bytesPerSecond(std::size_t size, Parse parse) {
  return static_cast<double>(size) / nanosecondsPerRequest(size, parse) * 1e9;
}

void writeRequest(const std::string& request) {
  std::ofstream file(kRequestFile, std::ios::binary);
  file << request;
  file.close();
  require(file.good(), "writing the request");
}

void compareTimes(const std::string& what, const std::string& request) {
  writeRequest(request);
  compare(
      "Query string, " + what, Figure::Nanoseconds, atMost(1.25),
      [&] { return nanosecondsPerRequest(request.size(), parseWithKelp); },
      [&] { return nanosecondsPerRequest(request.size(), decodePlainly); });
}

void compareRates(const std::string& what, const std::string& request) {
  writeRequest(request);
  compare(
      "Query string, 8 MiB, " + what + ", members: " + std::to_string(decodePlainly()), Figure::BytesPerSecond,
      atLeast(0.95), [&] { return bytesPerSecond(request.size(), parseWithKelp); },
      [&] { return bytesPerSecond(request.size(), decodePlainly); });
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  compareTimes("100 B", requestOf(100, 12, 5));
  compareTimes("4 KiB", requestOf(4096, 12, 5));
  compareRates("no escapes", requestOf(kLarge, kLarge, 0));
  compareRates("5 % escapes", requestOf(kLarge, kLarge, 5));
  compareRates("only escapes", requestOf(kLarge, kLarge, 100));
  compareRates("5 % escapes", requestOf(kLarge, 1000, 5));
  compareRates("5 % escapes", requestOf(kLarge, 20, 5));
}
