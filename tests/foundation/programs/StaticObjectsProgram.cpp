// A host whose static constructors build objects of Kelp, some of them before anything else in the process, and whose
// static destructors destroy them after everything else. Ends with status 0 when each was registered all its life.
#include "foundation/programs/HostLibrary.h"

namespace {

using KelpTest::StaticObject;

const StaticObject s_firstOfAll __attribute__((init_priority(101)));
const StaticObject s_object;
const StaticObject s_copy(s_firstOfAll);

}  // namespace

int main() {
  const Kelp::KelpObject* const objects[] = {&s_firstOfAll, &s_object, &s_copy, KelpTest::hostLibraryObject()};
  for (const Kelp::KelpObject* object : objects) {
    if (!Kelp::KelpObject::isObjectExist(object)) {
      return 1;
    }
  }
  return 0;
}
