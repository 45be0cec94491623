// Creates its owner's FIFO and reads messages from it.
//
// Threads: the owner's only. No locks.
#ifndef KELP_IPC_IPC_RECEIVER_H
#define KELP_IPC_IPC_RECEIVER_H

#include <string>

#include "FileOperator.h"
#include "IpcData.h"
#include "IpcHeader.h"
#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class KELP_EXPORT IpcReceiver : public KelpObject {
 public:
  // Creates the FIFO, open to all users, and opens it for reading and writing: it does not see the end of file when
  // writers come and go. A FIFO that is there already is used, after one error line; remove a stale one first. When the
  // open fails, that is logged too, and every receive() returns 14.
  explicit IpcReceiver(const std::string& fifoPath);
  ~IpcReceiver() override;  // removes the FIFO's file, then closes the descriptor
  IpcReceiver(const IpcReceiver&) = delete;
  IpcReceiver& operator=(const IpcReceiver&) = delete;

  // Creates the FIFO's file with permissions 0666 whatever the umask, which is changed, for the whole process, while
  // the call lasts. Logs one error line when that fails. The constructor has called it already.
  void makeComChannel() const;

  // The FIFO's descriptor, -1 when it could not be opened. Stays the receiver's.
  int getFd();

  // Reads one message, blocking. `timeoutMs` bounds each wait for bytes, in milliseconds; -1 waits without limit.
  // Returns 0 "OK": the header is filled in and `data` holds header.dataSize bytes, which the caller releases with
  // SysFunc::kelpFree, or null when that is 0. Otherwise, after an error line and with `data` null:
  // 14 "File Access Error" when reading failed, nothing came in time, or the file ended inside the message;
  // 16 "Not Enough Memory" when there is none for the payload, or the header announces fewer than 0 or more than 4064
  // bytes.
  // The message is then lost, but the next one is received: the payload is taken out of the FIFO with its header. Only
  // of a payload that did not come in time, or of a size that no message has, nothing more is read, and what follows in
  // the FIFO is taken for the next header.
  CommonReturnCode_t receive(IpcHeader& header, IpcData*& data, int timeoutMs);

 private:
  FileOperator m_fifo;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_RECEIVER_H
