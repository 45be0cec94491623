// The address of an application instance, named by two numbers. Threads: as IpcAddress.
#ifndef KELP_IPC_IPC_ADDRESS_APP_H
#define KELP_IPC_IPC_ADDRESS_APP_H

#include <string>

#include "IpcAddress.h"
#include "IpcHeader.h"
#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT IpcAddressApp : public IpcAddress {
 public:
  // The platform's programs assign the two identifiers; here they are only carried and shown in the FIFO's name.
  IpcAddressApp(int firstId, int secondId);
  explicit IpcAddressApp(const IpcSrcSpecificId_App& id);
  IpcAddressApp(const IpcAddressApp& other);
  IpcAddressApp& operator=(const IpcAddressApp& other);
  ~IpcAddressApp() override;

  // FilePathManager::getAppFifoPath(firstId, secondId), e.g. "/tmp/Kelp/fifo00000003_00000001".
  std::string getFifoFilePath() const override;
  IpcAddress* clone() const override;
  IpcSrcSpecificId getSrcSpecificId() const override;

 private:
  int m_firstId;
  int m_secondId;
};

}  // namespace Kelp

#endif  // KELP_IPC_IPC_ADDRESS_APP_H
