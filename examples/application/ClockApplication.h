// An application: it has its own FIFO and loop, reads its preferences, and tells the core every so often what the time
// is. It ends when the core says so, or on SIGTERM.
//
// Its preferences, all optional:
//   enabled   Boolean      whether it reports                   (true)
//   interval  Integer      milliseconds between two reports     (1000; 10 to 3600000)
//   label     String       what its reports begin with          (empty)
//   style     Enumeration  "plain" or "loud"                    (plain)
#ifndef KELP_EXAMPLES_APPLICATION_CLOCK_APPLICATION_H
#define KELP_EXAMPLES_APPLICATION_CLOCK_APPLICATION_H

#include <string>

#include "EventLooperMultiWait.h"
#include "IpcAddressApp.h"
#include "IpcEventReceiver.h"
#include "TimerService.h"
#include "common/Record.h"
#include "common/SignalEventReceiver.h"
#include "common/UnexpectedMessages.h"

namespace KelpExample {

class ClockApplication : public Kelp::IpcEventReceiver::OneWayRequestHandler,
                         public Kelp::TimerService::CyclicTimerObserver,
                         public SignalEventReceiver::Observer {
 public:
  // `label`: what the reports begin with, whatever the preference says; empty: the preference holds. The FIFO path of
  // the address must be free, and the timer service must exist.
  ClockApplication(const std::string& name, const Kelp::IpcAddressApp& address, const std::string& label);
  ~ClockApplication() override;
  ClockApplication(const ClockApplication&) = delete;
  ClockApplication& operator=(const ClockApplication&) = delete;

  // Returns true when the application has been told to end; false, at once, when its FIFO could not be made.
  bool run();

  void handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data, int dataSize) override;
  void notifyCyclicTimer(Kelp::TimerId_t timerId, int count) override;
  void handleSignal(int number) override;

 private:
  void setHandlers();
  void readPreferences();
  void restartTimer();
  void report();
  std::string reportText() const;

  const std::string m_name;
  const Kelp::IpcAddressApp m_address;
  const std::string m_givenLabel;
  Kelp::EventLooperMultiWait m_looper;
  UnexpectedMessages m_unexpectedMessages;
  SignalEventReceiver m_signalEventReceiver;  // before the FIFO: no signal may end the process and leave it behind
  Kelp::IpcEventReceiver m_ipcEventReceiver;
  bool m_isReceiving;
  Kelp::TimerId_t m_reportTimer = Kelp::INVALID_TIMER_ID;
  int m_reportCount = 0;

  bool m_isEnabled = true;
  int64_t m_intervalMs = 1000;
  std::string m_label;
  bool m_isLoud = false;
};

}  // namespace KelpExample

#endif  // KELP_EXAMPLES_APPLICATION_CLOCK_APPLICATION_H
