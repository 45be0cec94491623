// What loops, their channels and descriptors log when a call fails that LoopStarvationTest and others make fail.
#ifndef KELP_TESTS_STARVATION_LOOP_LINES_H
#define KELP_TESTS_STARVATION_LOOP_LINES_H

#include <string>
#include <vector>

#include "starvation/Life.h"
#include "support/LogCapture.h"

namespace KelpTest {

inline LogLine pollerLine(int line, const std::string& function, const std::string& message = "###ERROR###\n") {
  return errorLine("EventPoller.cpp", line, function, message);
}

// No epoll descriptor.
inline LogLine noPollerLine() {
  return pollerLine(36, "EventPoller");
}

// A receiver is not added, or not removed.
inline LogLine refusalLine(int error = errorOf(Call::EpollCtl)) {
  return pollerLine(65, "addEventReceiver",
                    "###ERROR### epoll_ctl(EPOLL_CTL_ADD) returns error. (errno=" + std::to_string(error) + ")\n");
}

inline LogLine notRemovedLine() {
  return pollerLine(84, "removeEventReceiver");
}

inline std::vector<LogLine> failedWaitLines() {
  return {pollerLine(111, "poll", "###ERROR### errno = " + std::to_string(errorOf(Call::EpollWait)) + "\n"),
          errorLine("EventLooperMultiWait.cpp", 93, "processEvent", "###ERROR###\n")};
}

// An object is not read from a channel, or not written into it.
inline LogLine unreadObjectLine() {
  return errorLine("ExecObjectEventReceiver.cpp", 61, "receiveAndExecuteEvent", "###ERROR###\n");
}

inline LogLine lostObjectLine() {
  return errorLine("ExecObjectEventSender.cpp", 50, "send", "###ERROR###\n");
}

// Of a poller's descriptor, and of all others.
inline LogLine failedPollerCloseLine() {
  return pollerLine(49, "~EventPoller");
}

inline LogLine failedCloseLine() {
  return errorLine("FdOperator.cpp", 0, "close",
                   "###ERROR### close() returns error(errno=" + std::to_string(errorOf(Call::Close)) + ").\n");
}

}  // namespace KelpTest

#endif  // KELP_TESTS_STARVATION_LOOP_LINES_H
