// For test programs that link FailingNew.cpp: it takes the place of operator new, whoever calls it. What a thread
// allocates while it holds an UncountedCalls neither counts nor fails.
#ifndef KELP_TESTS_STARVATION_FAILING_NEW_H
#define KELP_TESTS_STARVATION_FAILING_NEW_H

namespace KelpTest {

// Makes the `number`-th allocation from now on fail, for once; 0: none.
void failNew(int number);

// Whether one has failed since, and whether it was one with std::nothrow, which may.
bool hasNewFailed();
bool hasNothrowNewFailed();

int newCount();   // how many allocations there have been
int newBlocks();  // how many of them have not been released

}  // namespace KelpTest

#endif  // KELP_TESTS_STARVATION_FAILING_NEW_H
