#include "support/SignalStorm.h"

#include <signal.h>
#include <time.h>

namespace KelpTest {

namespace {

std::atomic<int> s_hits{0};

void countHit(int /*signal*/) {
  s_hits.fetch_add(1);
}

void pauseBriefly() {
  const timespec pause = {0, 200000};
  nanosleep(&pause, nullptr);
}

}  // namespace

SignalStorm::SignalStorm() : SignalStorm(pthread_self()) {}

SignalStorm::SignalStorm(pthread_t target) : m_isOver(false) {
  s_hits = 0;
  struct sigaction action = {};
  action.sa_handler = countHit;  // without SA_RESTART: interrupted calls return
  sigaction(SIGUSR2, &action, nullptr);
  m_sender = std::thread([this, target] {
    while (!m_isOver) {
      pthread_kill(target, SIGUSR2);
      pauseBriefly();
    }
  });
}

SignalStorm::~SignalStorm() {
  m_isOver = true;
  m_sender.join();
}

int SignalStorm::hits() const {
  return s_hits.load();
}

void SignalStorm::waitForMoreHits(int count) const {
  const int enough = hits() + count;
  while (hits() < enough) {
    pauseBriefly();
  }
}

}  // namespace KelpTest
