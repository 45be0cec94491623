#include <unistd.h>

#include "foundation/programs/HostLibrary.h"

namespace KelpTest {

namespace {

void checkIsRegistered(const Kelp::KelpObject* object) {
  if (!Kelp::KelpObject::isObjectExist(object)) {
    _exit(2);
  }
}

}  // namespace

StaticObject::StaticObject() {
  checkIsRegistered(this);
}

StaticObject::StaticObject(const StaticObject& other) : KelpObject(other) {
  checkIsRegistered(this);
  checkIsRegistered(&other);
}

StaticObject::~StaticObject() {
  checkIsRegistered(this);
}

}  // namespace KelpTest
