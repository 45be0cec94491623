// A piece of the library's life, lived in a process of its own, in which one of its calls may fail.
#ifndef KELP_TESTS_STARVATION_LIFE_H
#define KELP_TESTS_STARVATION_LIFE_H

#include <functional>
#include <string>
#include <vector>

#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace KelpTest {

struct Scenario {
  // Puts the files in place that `live` expects; what an earlier life has left behind stays. May be empty.
  std::function<void()> prepare;

  // The life. Returns what the library has answered.
  std::function<std::string()> live;

  // What is wrong with the files that a life has left; "" when nothing is. One that was aborted cannot have cleaned up.
  // May be empty.
  std::function<std::string(bool isAborted)> checkFiles;

  // How many blocks on the heap each life loses, as it is meant to.
  int lostBlocks = 0;

  // Whether the library works on several threads in it. Those do not always take turns alike: a life may have fewer
  // calls than the one before.
  bool hasThreads = false;
};

// Which call is to fail, or which allocation of an object: the `number`-th.
struct Fault {
  enum class Kind { None, Call, New };

  Kind kind;
  Call call;
  int number;
};

// For messages.
std::string nameOf(const Fault& fault);

// The errno of the call when it fails for want of something.
int errorOf(Call call);

// What became of a process that has lived the scenario twice, with the fault and then without one.
struct Life {
  int status = 0;      // of the process, as waitpid() gives it
  std::string output;  // on standard error

  // All below is known only where the process has come to its end.
  bool isComplete = false;
  bool hasFailed = false;         // whether the fault has happened
  bool hasNothrowFailed = false;  // to an allocation that may fail

  std::string result;
  std::vector<LogLine> errors;
  std::string wrongFiles;
  int descriptors = 0;  // more than before
  int blocks = 0;       // more than before, of those that are held on the heap

  std::string nextResult;
  std::vector<LogLine> nextErrors;
  int nextBlocks = 0;  // more than before both
  bool hasLeaks = false;

  std::vector<int> callCounts;  // of the first of the two, by Call
  int newCount = 0;
};

// Looking for leaks takes far longer than most lives do; not to look finds none.
Life live(const Scenario& scenario, const Fault& fault, bool looksForLeaks = true);

// --- For use in Scenario::live

// How many lines of the error level there have been since it began, in all or from one source file.
int loggedErrors();
int loggedErrors(const std::string& file);

// Has the function called, by the thread that logs, at each further line of this life. It must not log itself. When
// another one, or none, has been set, no thread is in it any more: what it uses can go.
void atEachLine(std::function<void()> function);

}  // namespace KelpTest

#endif  // KELP_TESTS_STARVATION_LIFE_H
