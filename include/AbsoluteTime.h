// The device's running time, summed up over all its starts and independent of the wall clock. The platform keeps it in
// a file; nothing here writes it.
//
// Threads: can be called on any thread.
#ifndef KELP_TIMER_ABSOLUTE_TIME_H
#define KELP_TIMER_ABSOLUTE_TIME_H

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT AbsoluteTime {
 public:
  // In minutes, from "/mnt/system/stats/uptime_total/total_lapsetime_min.bin": its first 4 bytes, in the processor's
  // byte order. Returns -1, after one error line, when the file is missing or shorter.
  static int getTime();
};

}  // namespace Kelp

#endif  // KELP_TIMER_ABSOLUTE_TIME_H
