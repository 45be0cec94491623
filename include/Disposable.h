// What an event looper can be asked to delete once its current pass is over (EventLooper::disposeSafely).
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
