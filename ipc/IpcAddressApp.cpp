#include "IpcAddressApp.h"

#include "FilePathManager.h"

namespace Kelp {

IpcAddressApp::IpcAddressApp(int firstId, int secondId)
    : IpcAddress(IpcAddressType_App), m_firstId(firstId), m_secondId(secondId) {
  setObjectType(ObjectType_IpcAddressApp);
}

IpcAddressApp::IpcAddressApp(const IpcSrcSpecificId_App& id) : IpcAddressApp(id.firstId, id.secondId) {}

IpcAddressApp::IpcAddressApp(const IpcAddressApp& other)
    : IpcAddress(other), m_firstId(other.m_firstId), m_secondId(other.m_secondId) {
  setObjectType(ObjectType_IpcAddressApp);
}

IpcAddressApp& IpcAddressApp::operator=(const IpcAddressApp& other) = default;

IpcAddressApp::~IpcAddressApp() = default;

std::string IpcAddressApp::getFifoFilePath() const {
  return FilePathManager::getAppFifoPath(m_firstId, m_secondId);
}

IpcAddress* IpcAddressApp::clone() const {
  return new IpcAddressApp(*this);
}

IpcSrcSpecificId IpcAddressApp::getSrcSpecificId() const {
  IpcSrcSpecificId id;
  id.words[0] = static_cast<uint32_t>(m_firstId);
  id.words[1] = static_cast<uint32_t>(m_secondId);
  return id;
}

}  // namespace Kelp
