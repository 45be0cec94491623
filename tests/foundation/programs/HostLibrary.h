// A host's shared library with an object of Kelp that its static constructors build. It names no need for libkelp.so,
// so the order of the link line alone decides which of the two is initialised first.
#ifndef KELP_TESTS_FOUNDATION_HOST_LIBRARY_H
#define KELP_TESTS_FOUNDATION_HOST_LIBRARY_H

#include "KelpObject.h"

namespace KelpTest {

// An object that has to be in the registry as long as it lives. The process ends with status 2 where it is not.
class StaticObject : public Kelp::KelpObject {
 public:
  StaticObject();
  StaticObject(const StaticObject& other);
  ~StaticObject() override;
};

__attribute__((visibility("default"))) const Kelp::KelpObject* hostLibraryObject();

}  // namespace KelpTest

#endif  // KELP_TESTS_FOUNDATION_HOST_LIBRARY_H
