#include "common/SignalEventReceiver.h"

#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>

namespace KelpExample {

namespace {

int blockAndOpen(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : signals) {
    sigaddset(&set, number);
  }
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  return signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

SignalEventReceiver::Observer::~Observer() = default;

SignalEventReceiver::SignalEventReceiver(std::initializer_list<int> signals, Observer& observer)
    : EventReceiver(blockAndOpen(signals), true), m_observer(observer) {}

SignalEventReceiver::~SignalEventReceiver() = default;

void SignalEventReceiver::receiveAndExecuteEvent() {
  signalfd_siginfo signal;
  const int size = sizeof(signal);
  if (getFdOperator().readNoTimeout(&signal, size) == size) {
    m_observer.handleSignal(static_cast<int>(signal.ssi_signo));
  }
}

}  // namespace KelpExample
