#include "IpcAddressApi.h"

#include "FilePathManager.h"

namespace Kelp {

IpcAddressApi::IpcAddressApi(int pid) : IpcAddress(IpcAddressType_Api), m_pid(pid) {
  setObjectType(ObjectType_IpcAddressApi);
}

IpcAddressApi::IpcAddressApi(const IpcSrcSpecificId_Api& id) : IpcAddressApi(id.pid) {}

IpcAddressApi::IpcAddressApi(const IpcAddressApi& other) : IpcAddress(other), m_pid(other.m_pid) {
  setObjectType(ObjectType_IpcAddressApi);
}

IpcAddressApi& IpcAddressApi::operator=(const IpcAddressApi& other) = default;

IpcAddressApi::~IpcAddressApi() = default;

std::string IpcAddressApi::getFifoFilePath() const {
  return FilePathManager::getApiFifoPath(m_pid);
}

IpcAddress* IpcAddressApi::clone() const {
  return new IpcAddressApi(*this);
}

IpcSrcSpecificId IpcAddressApi::getSrcSpecificId() const {
  IpcSrcSpecificId id;
  id.words[0] = static_cast<uint32_t>(m_pid);
  id.words[1] = 0;
  return id;
}

std::string IpcAddressApi::getFifoFilePathForCallback() const {
  return FilePathManager::getApiFifoPath(m_pid) + "N";
}

int IpcAddressApi::getPid() const {
  return m_pid;
}

}  // namespace Kelp
