#include "IpcSender.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>

#include <new>

#include "Mutex.h"
#include "foundation/Diagnostics.h"
#include "ipc/SigpipeGuard.h"
#include "ipc/WireFormat.h"

namespace Kelp {

namespace {

char s_buf[kMaxMessageSize];  // guarded by sendMutex()

// Built on first use, without an allocation, and never destroyed: static objects of the host may send too.
Mutex& sendMutex() {
  alignas(Mutex) static unsigned char storage[sizeof(Mutex)];
  static Mutex* const s_mutex = new (storage) Mutex;
  return *s_mutex;
}

}  // namespace

IpcSender::IpcSender(const std::string& fifoPath)
    : m_fifo(fifoPath, false), m_isSigpipeIgnored(SigpipeGuard::isSigpipeIgnored()) {
  setObjectType(ObjectType_IpcSender);
  if (m_fifo.open(O_WRONLY | O_NONBLOCK, 0) != 0) {
    KELP_LOG_ERROR("###ERROR###\n");
  }
}

IpcSender::~IpcSender() = default;

CommonReturnCode_t IpcSender::send(IpcHeader& header, IpcData& data) {
  Mutex::ScopedLock lock(sendMutex());
  const int dataSize = header.dataSize;
  KELP_ASSERT(isDataSizeValid(dataSize), "headerSize + dataSize <= 4096");
  memcpy(s_buf, &header, sizeof header);
  memcpy(s_buf + kHeaderSize, &data, static_cast<size_t>(dataSize));
  const int messageSize = kHeaderSize + dataSize;
  return write(s_buf, messageSize) == messageSize ? CommonReturnCode_Ok : CommonReturnCode_FileAccessError;
}

int IpcSender::write(const void* message, int size) const {
  if (m_isSigpipeIgnored) {
    return m_fifo.write(message, size);
  }
  SigpipeGuard guard;
  const int written = m_fifo.write(message, size);
  if (written == -1 && errno == EPIPE) {
    guard.takeBackRaised();
  }
  return written;
}

}  // namespace Kelp
