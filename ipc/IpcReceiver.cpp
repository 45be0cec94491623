#include "IpcReceiver.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "SysFunc.h"
#include "file/ZeroUmask.h"
#include "foundation/Diagnostics.h"
#include "ipc/WireFormat.h"

namespace Kelp {

namespace {

// Open to the users of all applications and API clients, whatever the umask of the process.
constexpr mode_t kFifoMode = 0666;

constexpr int kNoTimeout = -1;

// On return the umask is back: the logger, which may make files or use the library, is called only then.
bool makeFifo(const std::string& path) {
  const ZeroUmask zeroUmask;
  return mkfifo(path.c_str(), kFifoMode) == 0;
}

// Reads until `size` bytes are in and returns `size`. Returns the last read's result, which is 0 or below, when the
// file ends before or reading fails.
int readWhole(const FdOperator& fd, void* buffer, int size, int timeoutMs) {
  int got = 0;
  while (got < size) {
    const int ret = fd.read(static_cast<char*>(buffer) + got, size - got, timeoutMs);
    if (ret <= 0) {
      return ret;
    }
    got += ret;
  }
  return got;
}

// Null for a size that no message has, too.
IpcData* allocateData(int dataSize) {
  if (!isDataSizeValid(dataSize)) {
    return nullptr;
  }
  return static_cast<IpcData*>(SysFunc::kelpMalloc(static_cast<unsigned int>(dataSize)));
}

// Takes the payload of a message that is dropped out of the file, so that the next header is found behind it. Where no
// message has such a payload, nothing says where the next header is.
void skipData(const FdOperator& fd, int dataSize, int timeoutMs) {
  if (!isDataSizeValid(dataSize)) {
    return;
  }
  char piece[256];
  for (int left = dataSize; left > 0;) {
    const int size = std::min<int>(left, sizeof(piece));
    if (readWhole(fd, piece, size, timeoutMs) <= 0) {
      return;
    }
    left -= size;
  }
}

}  // namespace

IpcReceiver::IpcReceiver(const std::string& fifoPath) : m_fifo(fifoPath, true) {
  setObjectType(ObjectType_IpcReceiver);
  makeComChannel();
  if (m_fifo.open(O_RDWR, 0) != 0) {
    KELP_LOG_ERROR("###ERROR###\n");
  }
}

IpcReceiver::~IpcReceiver() = default;

void IpcReceiver::makeComChannel() const {
  if (!makeFifo(m_fifo.getPath())) {
    KELP_LOG_ERROR("###ERROR###\n");
  }
}

int IpcReceiver::getFd() {
  return m_fifo.getFd();
}

CommonReturnCode_t IpcReceiver::receive(IpcHeader& header, IpcData*& data, int timeoutMs) {
  data = nullptr;
  int ret = readWhole(m_fifo, &header, kHeaderSize, timeoutMs);
  if (ret <= 0) {
    KELP_LOG_ERROR("###ERROR### headerSize=%d, ret=%d\n\n", kHeaderSize, ret);
    return CommonReturnCode_FileAccessError;
  }
  if (header.dataSize == 0) {
    return CommonReturnCode_Ok;
  }
  data = allocateData(header.dataSize);
  if (data == nullptr) {
    KELP_LOG_ERROR("###ERROR###\n");
    skipData(m_fifo, header.dataSize, timeoutMs);
    return CommonReturnCode_NotEnoughMemory;
  }
  ret = readWhole(m_fifo, data, header.dataSize, timeoutMs);
  if (ret <= 0) {
    // Values and labels are crossed, and log readers know the line so.
    KELP_LOG_ERROR("###ERROR### dataSize=%d, ret=%d\n\n", ret, header.dataSize);
    SysFunc::kelpFree(data);
    data = nullptr;
    if (timeoutMs == kNoTimeout) {  // with one, the payload may just not have come: it has been waited for already
      skipData(m_fifo, header.dataSize, timeoutMs);
    }
    return CommonReturnCode_FileAccessError;
  }
  return CommonReturnCode_Ok;
}

}  // namespace Kelp
