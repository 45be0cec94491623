#include "IpcAddressCore.h"

#include "FilePathManager.h"

namespace Kelp {

namespace {

constexpr uint32_t kCoreMarker = 0xCCCCCCCC;

}  // namespace

IpcAddressCore::IpcAddressCore() : IpcAddress(IpcAddressType_Core) {
  setObjectType(ObjectType_IpcAddressCore);
}

IpcAddressCore::IpcAddressCore(const IpcAddressCore& other) : IpcAddress(other) {
  setObjectType(ObjectType_IpcAddressCore);
}

IpcAddressCore& IpcAddressCore::operator=(const IpcAddressCore& other) = default;

IpcAddressCore::~IpcAddressCore() = default;

std::string IpcAddressCore::getFifoFilePath() const {
  return FilePathManager::getCoreFifoPath();
}

IpcAddress* IpcAddressCore::clone() const {
  return new IpcAddressCore(*this);
}

IpcSrcSpecificId IpcAddressCore::getSrcSpecificId() const {
  IpcSrcSpecificId id;
  id.words[0] = kCoreMarker;
  id.words[1] = 0;
  return id;
}

}  // namespace Kelp
