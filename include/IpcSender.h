// Writes messages into a peer's FIFO, each with one write, so that those of several writers never mix.
//
// Threads: send() can be called on any thread; one process-wide lock and message buffer serve all senders. It allocates
// nothing and never blocks on the peer.
#ifndef KELP_IPC_IPC_SENDER_H
#define KELP_IPC_IPC_SENDER_H

#include <string>

#include "FileOperator.h"
#include "IpcData.h"
#include "IpcHeader.h"
#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class KELP_EXPORT IpcSender : public KelpObject {
 public:
  // Opens the peer's FIFO for writing, without waiting: the peer must have created it already and hold it open. Where
  // it does not, that is logged and every send() returns 14; the open is not tried again.
  explicit IpcSender(const std::string& fifoPath);
  ~IpcSender() override;  // closes the descriptor; the FIFO stays the peer's
  IpcSender(const IpcSender&) = delete;
  IpcSender& operator=(const IpcSender&) = delete;

  // Sends the header and header.dataSize bytes at `data`. A data size outside 0 to 4064 ends the process with the
  // assertion "headerSize + dataSize <= 4096".
  // Returns 0 "OK", or 14 "File Access Error" when the message was not written: the FIFO could not be opened or is
  // full, or nobody reads it any more. A message that was not written is dropped; the caller may send it again. A peer
  // that is gone never costs the process its life: whatever the disposition of SIGPIPE, the signal is held off on the
  // calling thread and the one that the write raised is taken back. A process that ignored SIGPIPE when the sender was
  // built, and goes on ignoring it, is spared that work.
  CommonReturnCode_t send(IpcHeader& header, IpcData& data);

 private:
  KELP_LOCAL int write(const void* message, int size) const;

  FileOperator m_fifo;
  bool m_isSigpipeIgnored;  // as it was at construction
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_SENDER_H
