// What an event looper can be asked to delete once its current pass is over (EventLooper::disposeSafely).
//
// Threads: deleted on the thread of the looper that was asked.
#ifndef KELP_FOUNDATION_DISPOSABLE_H
#define KELP_FOUNDATION_DISPOSABLE_H

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT Disposable {
 public:
  Disposable();
  virtual ~Disposable();
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_DISPOSABLE_H
