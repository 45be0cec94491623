#include "IpcAddress.h"

#include <new>

#include "IpcAddressApi.h"
#include "IpcAddressApp.h"
#include "IpcAddressCore.h"
#include "IpcHeader.h"
#include "foundation/Diagnostics.h"

namespace Kelp {

IpcAddress::IpcAddress(IpcAddressType ipcAddressType) : m_ipcAddressType(ipcAddressType) {}

IpcAddress::IpcAddress(const IpcAddress& other) = default;

IpcAddress& IpcAddress::operator=(const IpcAddress& other) = default;

IpcAddress::~IpcAddress() = default;

IpcAddressType IpcAddress::getIpcAddressType() const {
  return m_ipcAddressType;
}

void IpcAddress::fillInSourceAddress(IpcHeader& header) const {
  header.srcAddressType = m_ipcAddressType;
  header.srcSpecificId = getSrcSpecificId();
}

IpcAddress* IpcAddress::createIpcAddress(IpcHeader& header) {
  switch (header.srcAddressType) {
    case IpcAddressType_Api:
      return new (std::nothrow) IpcAddressApi(header.srcSpecificId.api);
    case IpcAddressType_Core:
      return new (std::nothrow) IpcAddressCore;
    case IpcAddressType_App:
      return new (std::nothrow) IpcAddressApp(header.srcSpecificId.app);
    default:
      KELP_FAIL("0");
  }
}

}  // namespace Kelp
