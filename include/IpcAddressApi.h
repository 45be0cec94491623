// The address of an API client, named by its process id. Threads: as IpcAddress.
#ifndef KELP_IPC_IPC_ADDRESS_API_H
#define KELP_IPC_IPC_ADDRESS_API_H

#include <string>

#include "IpcAddress.h"
#include "IpcHeader.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT IpcAddressApi : public IpcAddress {
 public:
  explicit IpcAddressApi(int pid);
  explicit IpcAddressApi(const IpcSrcSpecificId_Api& id);
  IpcAddressApi(const IpcAddressApi& other);
  IpcAddressApi& operator=(const IpcAddressApi& other);
  ~IpcAddressApi() override;

  // FilePathManager::getApiFifoPath(pid), e.g. "/tmp/Kelp/fifo000004D2".
  std::string getFifoFilePath() const override;
  IpcAddress* clone() const override;
  IpcSrcSpecificId getSrcSpecificId() const override;

  // The path of a second FIFO, on which the client receives call-backs, e.g. "/tmp/Kelp/fifo000004D2N". The library
  // never opens it by itself: the client creates a receiver on it and tells its peers when it wants one.
  virtual std::string getFifoFilePathForCallback() const;

  int getPid() const;

 private:
  int m_pid;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_ADDRESS_API_H
