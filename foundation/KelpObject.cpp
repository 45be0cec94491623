#include "KelpObject.h"

#include "foundation/Diagnostics.h"
#include "foundation/ObjectRegistry.h"

namespace Kelp {

KelpObject::KelpObject() : m_objectType(ObjectType_None) {
  ObjectRegistry::getInstance().add(*this);
}

KelpObject::KelpObject(const KelpObject& other) : m_objectType(other.m_objectType.load(std::memory_order_relaxed)) {
  ObjectRegistry::getInstance().add(*this);
}

// NOLINTNEXTLINE(cert-oop54-cpp): nothing is taken over, so the object may be assigned to itself
KelpObject& KelpObject::operator=(const KelpObject& /*other*/) {
  return *this;
}

KelpObject::~KelpObject() {
  ObjectRegistry::getInstance().remove(*this);
}

void KelpObject::setObjectType(ObjectType type) {
  m_objectType.store(type, std::memory_order_relaxed);
}

bool KelpObject::isObjectExist(const KelpObject* object) {
  if (!isTraceLogged()) {
    return ObjectRegistry::getInstance().contains(object);
  }
  ObjectType type;
  if (ObjectRegistry::getInstance().find(object, type)) {
    KELP_LOG_TRACE_AT(82, "This object (%p) Exist! (ObjectType=%d)\n", static_cast<const void*>(object), type);
    return true;
  }
  KELP_LOG_TRACE_AT(86, "This object (%p) does NOT Exist.\n", static_cast<const void*>(object));
  return false;
}

}  // namespace Kelp
