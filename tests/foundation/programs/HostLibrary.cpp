#include "foundation/programs/HostLibrary.h"

namespace KelpTest {

namespace {

const StaticObject s_object;

}  // namespace

const Kelp::KelpObject* hostLibraryObject() {
  return &s_object;
}

}  // namespace KelpTest
