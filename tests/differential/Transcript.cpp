#include "differential/Transcript.h"

#include "PfLog.h"

namespace KelpTest {

namespace {

std::string printable(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte >= ' ' && byte <= '~' && byte != '\\') {
      text += byte;
      continue;
    }
    char code[5];
    snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned int>(static_cast<unsigned char>(byte)));
    text += code;
  }
  return text;
}

}  // namespace

Transcript::Transcript(FILE* out) : m_out(out) {}

void Transcript::begin(const char* what, int number) {
  fprintf(m_out, "== %s %d\n", what, number);
}

void Transcript::put(const char* what, std::string_view bytes) {
  fprintf(m_out, "%s: %s\n", what, printable(bytes).c_str());
}

void Transcript::put(const char* what, long long number) {
  fprintf(m_out, "%s = %lld\n", what, number);
}

void Transcript::putLog() {
  for (const LogLine& line : m_log.lines()) {
    fprintf(m_out, "log %s %s L:%d %s %s\n", line.level == Kelp::kPfLogLevelError ? "error" : "trace",
            line.file.c_str(), line.line, line.function.c_str(), printable(line.message).c_str());
  }
  m_log.clear();
}

bool Transcript::require(const std::string& outcome, int times) const {
  const auto found = m_outcomes.find(outcome);
  const int count = found == m_outcomes.end() ? 0 : found->second;
  if (count < times) {
    fprintf(stderr, "FAILED: \"%s\" has come %d times, not %d\n", outcome.c_str(), count, times);
  }
  return count >= times;
}

void Transcript::printOutcomes(FILE* out) const {
  for (const auto& [outcome, count] : m_outcomes) {
    fprintf(out, "%6d %s\n", count, outcome.c_str());
  }
}

}  // namespace KelpTest
