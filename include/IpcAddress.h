// Names one endpoint of the messaging between processes: the core daemon, an application instance or an API client.
//
// An address yields the path of the endpoint's FIFO and travels as the source in every message header, so that whoever
// receives a message can rebuild the sender's address and answer it. No path ever comes from the wire.
//
// Threads: addresses are not changed after construction and may be read on any thread.
#ifndef KELP_IPC_IPC_ADDRESS_H
#define KELP_IPC_IPC_ADDRESS_H

#include <stdint.h>

#include <string>

#include "KelpExport.h"
#include "KelpObject.h"

namespace Kelp {

struct IpcHeader;
union IpcSrcSpecificId;

// Travels in message headers: the numbers never change.
enum IpcAddressType : int32_t {
  IpcAddressType_App = 0,
  IpcAddressType_Api = 1,
  IpcAddressType_Core = 2,
  IpcAddressType_Max = 3,  // how many there are; never an address's type
};

class KELP_EXPORT IpcAddress : public KelpObject {
 public:
  explicit IpcAddress(IpcAddressType ipcAddressType);
  IpcAddress(const IpcAddress& other);
  ~IpcAddress() override;

  // The path of the FIFO that the endpoint reads.
  virtual std::string getFifoFilePath() const = 0;

  // A new object equal to this one, which the caller owns.
  virtual IpcAddress* clone() const = 0;

  // The identity as it stands in a message header. A word that the kind of address has no use for is 0.
  virtual IpcSrcSpecificId getSrcSpecificId() const = 0;

  IpcAddressType getIpcAddressType() const;

  // Writes this address into the header as the message's source; the other fields are left as they are.
  void fillInSourceAddress(IpcHeader& header) const;

  // Rebuilds the address that the header names as its source. The caller owns the result, which is null when there is
  // no memory. A source type that is none of the three ends the process with the assertion "0".
  static IpcAddress* createIpcAddress(IpcHeader& header);

 protected:
  IpcAddress& operator=(const IpcAddress& other);

 private:
  IpcAddressType m_ipcAddressType;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_ADDRESS_H
