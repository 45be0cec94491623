// The address of the core daemon, of which a system has one. Threads: as IpcAddress.
#ifndef KELP_IPC_IPC_ADDRESS_CORE_H
#define KELP_IPC_IPC_ADDRESS_CORE_H

#include <string>

#include "IpcAddress.h"
#include "IpcHeader.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT IpcAddressCore : public IpcAddress {
 public:
  IpcAddressCore();
  IpcAddressCore(const IpcAddressCore& other);
  IpcAddressCore& operator=(const IpcAddressCore& other);
  ~IpcAddressCore() override;

  // FilePathManager::getCoreFifoPath(): "/tmp/Kelp/fifocore".
  std::string getFifoFilePath() const override;
  IpcAddress* clone() const override;

  // The core has no identity: word 0 holds the marker 0xCCCCCCCC.
  IpcSrcSpecificId getSrcSpecificId() const override;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_ADDRESS_CORE_H
