// All that a differential run does to the library and gets from it, as text: one fact to a line, so that the first line
// in which two transcripts differ tells what does.
#ifndef KELP_TESTS_DIFFERENTIAL_TRANSCRIPT_H
#define KELP_TESTS_DIFFERENTIAL_TRANSCRIPT_H

#include <stdint.h>
#include <stdio.h>

#include <map>
#include <string>
#include <string_view>

#include "support/LogCapture.h"

namespace KelpTest {

class Transcript {
 public:
  explicit Transcript(FILE* out);

  // Starts what belongs together: "== what number".
  void begin(const char* what, int number);

  // Bytes that are not printable are shown as in a C literal.
  void put(const char* what, std::string_view bytes);
  void put(const char* what, long long number);

  // The lines that the library has logged since the last time, without process and thread.
  void putLog();

  // Counts an outcome that every run has to have; see require().
  void count(const std::string& outcome) { m_outcomes[outcome]++; }

  // Whether each of the outcomes has come at least that often; those that have not are named on standard error.
  bool require(const std::string& outcome, int times) const;

  // How often each outcome has come.
  void printOutcomes(FILE* out) const;

 private:
  FILE* const m_out;
  LogCapture m_log;
  std::map<std::string, int> m_outcomes;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_DIFFERENTIAL_TRANSCRIPT_H
