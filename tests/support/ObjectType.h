// Which type number an object is registered under.
#ifndef KELP_TESTS_SUPPORT_OBJECT_TYPE_H
#define KELP_TESTS_SUPPORT_OBJECT_TYPE_H

#include "KelpObject.h"
#include "foundation/ObjectRegistry.h"

namespace KelpTest {

// -1 when the object is not registered.
inline int objectTypeOf(const Kelp::KelpObject& object) {
  Kelp::KelpObject::ObjectType type = Kelp::KelpObject::ObjectType_None;
  return Kelp::ObjectRegistry::getInstance().find(&object, type) ? static_cast<int>(type) : -1;
}

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_OBJECT_TYPE_H
