// Lets a piece of the library's life go wrong in every way there is: its first call of a kind fails, then its second,
// and so on, each time in a process of its own.
#ifndef KELP_TESTS_STARVATION_STARVATION_H
#define KELP_TESTS_STARVATION_STARVATION_H

#include <map>
#include <string>
#include <vector>

#include "starvation/Life.h"
#include "support/CallFaults.h"
#include "support/LogCapture.h"

namespace KelpTest {

// What a failed call leads to. Wherever the process goes on, its files are whole, nothing is lost but what is named
// here, and the next life succeeds.
struct Ending {
  // What the process prints when it ends with an assertion: the file, the line (0: any) and the expression.
  std::string file;
  int line = 0;
  std::string expression;  // "": it goes on

  bool waits = false;  // for ever; the life has an alarm set where it expects that

  std::string result;
  std::vector<LogLine> errors;      // all that is logged at the error level
  std::vector<LogLine> nextErrors;  // by the next life, which succeeds all the same
  int lostBlocks = 0;               // more than a life without a fault does
  int lostDescriptors = 0;

  Ending losing(int blocks, int descriptors = 0) const;
  Ending loggingLater(const std::vector<LogLine>& lines) const;
};

Ending waits();
Ending asserts(const std::string& file, int line, const std::string& expression);
Ending goesOn(const std::string& result, const std::vector<LogLine>& errors = {});

class Starvation {
 public:
  // `errorsAfterAbort`: what the first life after one that was aborted may log, because that could not clean up.
  explicit Starvation(Scenario scenario, std::vector<LogLine> errorsAfterAbort = {});

  // How the calls of a kind end when they fail: each as one of these says, and each of these happens. Those of locks
  // end the process.
  void expect(Call call, const std::vector<Ending>& endings);

  // The same of the allocations of objects that may fail. All others end the process.
  void expectOfNothrowNew(const std::vector<Ending>& endings);

  // The test fails where a call or an allocation ends otherwise.
  void failEachCall();
  void failEachNew();

 private:
  Life liveWithoutFault();
  void failEach(Call call, int count);
  void judge(const Fault& fault, const Life& life, const std::vector<Ending>& endings, std::vector<bool>& happened);
  bool isWithoutFault(const Life& life) const;
  bool isAs(const Ending& ending, const Life& life) const;
  bool hasAborted(const Life& life) const;
  void checkAfterAbort(const std::string& name);

  Scenario m_scenario;
  std::vector<LogLine> m_errorsAfterAbort;
  std::map<Call, std::vector<Ending>> m_endings;
  std::vector<Ending> m_nothrowEndings;
  Life m_good;
  int m_notReached = 0;  // faults that did not happen, because there were fewer calls
};

}  // namespace KelpTest

#endif  // KELP_TESTS_STARVATION_STARVATION_H
