// A multipart form of 8 MiB with one large part, opened, mapped, parsed and closed, in one line and in lines of 76,
// beside a plain pass over the same mapping with its pages populated: memchr for line ends and the boundary in blocks
// of 16 KiB, copied down in place. Where libmicrohttpd is there, also beside its post processor, which is handed the
// same file piece by piece and whose value is kept without its line ends: once in fresh memory, as Kelp's mapping is
// fresh for each request, and once in memory that the process has kept from the request before.
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <random>
#include <string>

#include "MultiPartParser.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/PrivateNamespace.h"
#ifdef KELP_BENCH_MICROHTTPD
#include "support/PostProcessor.h"
#endif

using namespace KelpBench;

namespace {

constexpr char kRequestFile[] = "/tmp/Kelp/request";
constexpr std::size_t kLarge = 8U << 20U;
constexpr int kRepetitions = 8;  // in a round
const std::string kBoundary = "----WebKitFormBoundary7MA4YWxkTrZu0gWq";

// --- The floor

constexpr std::size_t kBlock = 16384;

std::size_t distance(const char* from, const char* to) {
  return static_cast<std::size_t>(to - from);
}

// Copies a block without its line ends.
char* copyLines(const char* from, const char* end, char* out) {
  while (from != end) {
    const auto* const lineFeed = static_cast<const char*>(memchr(from, '\n', distance(from, end)));
    const char* const lineEnd = lineFeed == nullptr ? end : lineFeed;
    const char* const textEnd = lineEnd != from && lineEnd[-1] == '\r' ? lineEnd - 1 : lineEnd;
    memmove(out, from, distance(from, textEnd));
    out += textEnd - from;
    from = lineFeed == nullptr ? end : lineFeed + 1;
  }
  return out;
}

const char* findBoundary(const char* from, const char* end, const std::string& boundary) {
  for (;; ++from) {
    from = static_cast<const char*>(memchr(from, '-', distance(from, end)));
    if (from == nullptr || memcmp(from, boundary.data(), boundary.size()) == 0) {
      return from;
    }
  }
}

std::size_t packPlainly(char* text, std::size_t size) {
  const std::string boundary = "--" + kBoundary;
  const char* from = strstr(text, "\r\n\r\n") + 4;
  const char* const end = text + size;
  char* out = text;
  while (from != end) {
    const char* const blockEnd = from + std::min(kBlock, distance(from, end));
    const char* const found = findBoundary(from, blockEnd, boundary);
    out = copyLines(from, found == nullptr ? blockEnd : found, out);
    if (found != nullptr) {
      break;
    }
    from = blockEnd;
  }
  return distance(text, out);
}

std::size_t parsePlainly() {
  const int fd = open(kRequestFile, O_RDONLY | O_CLOEXEC);
  struct stat status;
  require(fd != -1 && fstat(fd, &status) == 0, "open and fstat");
  const auto size = static_cast<std::size_t>(status.st_size);
  void* const text = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  require(text != MAP_FAILED, "mmap");
  const std::size_t valueSize = packPlainly(static_cast<char*>(text), size);
  munmap(text, size);
  close(fd);
  return valueSize;
}

std::size_t parseWithKelp() {
  const Kelp::MultiPartParser parser(kRequestFile);
  long offset = 0;
  return parser.getMemberInfo("applicationPackage", offset);
}

// --- The requests

std::string randomBase64(std::size_t size, std::size_t lineSize) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::mt19937 random(1);
  std::string text;
  for (std::size_t column = 0; text.size() < size; ++column) {
    if (column == lineSize) {
      text += "\r\n";
      column = 0;
    }
    text += digits[random() % digits.size()];
  }
  return text;
}

std::string formOf(const std::string& data) {
  return "--" + kBoundary +
         "\r\nContent-Disposition: form-data; name=\"applicationPackage\"; filename=\"package\"\r\n" +
         "Content-Type: application/octet-stream\r\n\r\n" + data + "\r\n--" + kBoundary + "--\r\n";
}

// --- The measurement

template <typename Parse>
double bytesPerSecond(std::size_t size, Parse parse) {
  const int64_t start = processCpuNanoseconds();
  for (int i = 0; i < kRepetitions; ++i) {
    parse();
  }
  return static_cast<double>(size) * kRepetitions / static_cast<double>(processCpuNanoseconds() - start) * 1e9;
}

void writeForm(std::size_t lineSize) {
  std::ofstream(kRequestFile, std::ios::binary) << formOf(randomBase64(kLarge, lineSize));
  require(parseWithKelp() == parsePlainly() && parsePlainly() > kLarge / 2, "both sides find the same value");
}

template <typename Floor>
void compareWith(const std::string& what, Goal goal, Floor floor) {
  struct stat status;
  require(stat(kRequestFile, &status) == 0, "stat");
  const auto size = static_cast<std::size_t>(status.st_size);
  compare(
      "Multipart form, 8 MiB, " + what, Figure::BytesPerSecond, goal,
      [&] { return bytesPerSecond(size, parseWithKelp); }, [&] { return bytesPerSecond(size, floor); });
}

void compareWithPostProcessor(const std::string& what) {
#ifdef KELP_BENCH_MICROHTTPD
  PostProcessor postProcessor(kBoundary);
  require(postProcessor.run(kRequestFile, ValueMemory::Fresh) == parsePlainly(), "libmicrohttpd finds the same value");
  compareWith(what, atLeast(1.0), [&] { postProcessor.run(kRequestFile, ValueMemory::Fresh); });
  compareWith(what + " in reused memory", atLeast(1.0), [&] { postProcessor.run(kRequestFile, ValueMemory::Reused); });
#else
  fprintf(stderr, "MultiPartBench: %s needs libmicrohttpd-dev: skipped\n", what.c_str());
#endif
}

}  // namespace

int main(int /*argc*/, char** argv) {
  KelpTest::enterPrivateNamespace(argv);
  writeForm(kLarge);
  compareWith("one line", atLeast(0.9), parsePlainly);
  writeForm(76);
  compareWith("lines of 76", atLeast(0.9), parsePlainly);
  compareWithPostProcessor("lines of 76, libmicrohttpd");
}
