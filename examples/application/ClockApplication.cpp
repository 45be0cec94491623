#include "application/ClockApplication.h"

#include <signal.h>
#include <time.h>

#include <algorithm>

#include "AppPrefBoolean.h"
#include "AppPrefEnumeration.h"
#include "AppPrefInteger.h"
#include "AppPrefList.h"
#include "AppPrefString.h"
#include "FilePathManager.h"
#include "IpcAddressCore.h"
#include "IpcData.h"
#include "IpcEventSender.h"
#include "common/Note.h"
#include "common/Payload.h"
#include "common/WebApi.h"

namespace KelpExample {

namespace {

constexpr int64_t kNanosecondsPerMs = 1000000;
constexpr long long kMinIntervalMs = 10;
constexpr long long kMaxIntervalMs = 3600000;

std::string timeOfDay() {
  const time_t now = time(nullptr);
  tm parts;
  localtime_r(&now, &parts);
  char text[16];
  strftime(text, sizeof(text), "%H:%M:%S", &parts);
  return text;
}

}  // namespace

ClockApplication::ClockApplication(const std::string& name, const Kelp::IpcAddressApp& address,
                                   const std::string& label)
    : m_name(name),
      m_address(address),
      m_givenLabel(label),
      m_unexpectedMessages(m_address),
      m_signalEventReceiver({SIGTERM, SIGINT}, *this),
      m_ipcEventReceiver(m_address) {
  setHandlers();
  m_isReceiving = m_looper.addEventReceiver(m_ipcEventReceiver);
  m_looper.addEventReceiver(m_signalEventReceiver);
}

ClockApplication::~ClockApplication() {
  Kelp::TimerService::getInstance().cancelTimer(m_reportTimer);
  m_looper.removeEventReceiver(m_signalEventReceiver);
  if (m_isReceiving) {
    m_looper.removeEventReceiver(m_ipcEventReceiver);
  }
}

// The first report goes out at once: it tells the core that the application is up.
bool ClockApplication::run() {
  if (!m_isReceiving) {
    note("%s cannot be made", m_address.getFifoFilePath().c_str());
    return false;
  }
  readPreferences();
  report();
  m_looper.runEventLoop();
  return true;
}

// Only the core has something to say here.
void ClockApplication::setHandlers() {
  for (const auto type : {Kelp::IpcAddressType_App, Kelp::IpcAddressType_Api, Kelp::IpcAddressType_Core}) {
    m_ipcEventReceiver.setRequestHandler(type, m_unexpectedMessages);
  }
  m_ipcEventReceiver.setOneWayRequestHandler(Kelp::IpcAddressType_App, m_unexpectedMessages);
  m_ipcEventReceiver.setOneWayRequestHandler(Kelp::IpcAddressType_Api, m_unexpectedMessages);
  m_ipcEventReceiver.setOneWayRequestHandler(Kelp::IpcAddressType_Core, *this);
}

void ClockApplication::handleOneWayRequest(Kelp::IpcAddress& srcIpcAddress, Kelp::IpcDataOneWayRequest& data,
                                           int dataSize) {
  Record record;
  std::string order;
  if (!readPayload(&data, dataSize, 0, record) || !record.getString(kOrder, order)) {
    m_unexpectedMessages.handleOneWayRequest(srcIpcAddress, data, dataSize);
    return;
  }
  if (order == kOrderStop) {
    m_looper.exitEventLoop();
  } else if (order == kOrderReadPreferences) {
    readPreferences();
    report();
  }
}

void ClockApplication::notifyCyclicTimer(Kelp::TimerId_t /*timerId*/, int /*count*/) {
  if (m_isEnabled) {
    report();
  }
}

void ClockApplication::handleSignal(int /*number*/) {
  m_looper.exitEventLoop();
}

// A preference that the file does not have, or has with another type, leaves things as they are.
void ClockApplication::readPreferences() {
  const Kelp::AppPrefList list(Kelp::FilePathManager::getAppPrefsFilePath(m_name), false, 0);
  if (list.hasError()) {
    note("the preferences cannot be read");
  }
  if (const Kelp::AppPrefBoolean* enabled = list.getAppPrefBoolean("enabled")) {
    m_isEnabled = enabled->getValue();
  }
  if (const Kelp::AppPrefInteger* interval = list.getAppPrefInteger("interval")) {
    m_intervalMs = std::clamp(interval->getValue(), kMinIntervalMs, kMaxIntervalMs);
  }
  if (const Kelp::AppPrefString* label = list.getAppPrefString("label")) {
    m_label = label->getValue();
  }
  if (const Kelp::AppPrefEnumeration* style = list.getAppPrefEnumeration("style")) {
    m_isLoud = style->getValueByString() == "loud";
  }
  restartTimer();
}

void ClockApplication::restartTimer() {
  Kelp::TimerService& timers = Kelp::TimerService::getInstance();
  timers.cancelTimer(m_reportTimer);
  m_reportTimer = timers.startCyclicTimer(m_intervalMs * kNanosecondsPerMs, *this, &m_looper);
}

// A report that the core does not take is lost; the next one follows soon.
void ClockApplication::report() {
  Record record;
  record.putDecimal(kReportCount, ++m_reportCount);
  record.putString(kReportText, reportText());
  OutgoingPayload payload(record, "");
  Kelp::IpcEventSender sender(Kelp::IpcAddressCore(), m_address);
  sender.sendOneWayRequest(payload.data<Kelp::IpcDataOneWayRequest>(), payload.size());
}

std::string ClockApplication::reportText() const {
  const std::string& label = m_givenLabel.empty() ? m_label : m_givenLabel;
  return label + (label.empty() ? "" : " ") + timeOfDay() + (m_isLoud ? "!" : "");
}

}  // namespace KelpExample
