// The checksum of a preference list's canonical text (AppPrefList::getAppPrefJsonStringForCRC), which a saved
// preference file carries: the low 16 bits of the CRC-32 that zlib and IEEE 802.3 use.
//
// Threads: stateless, can be called on any thread.
#ifndef KELP_PREF_CRC_CALCULATOR_H
#define KELP_PREF_CRC_CALCULATOR_H

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT crcCalculator {
 public:
  crcCalculator();
  ~crcCalculator();

  // The checksum of `length` bytes; of none, when `data` may be null, it is 0.
  static unsigned short getCRC(const unsigned char* data, unsigned long length);

  // Whether the bytes have this checksum.
  static bool checkCRC(const unsigned char* data, unsigned long length, unsigned short crc);
};

}  // namespace Kelp

#endif  // KELP_PREF_CRC_CALCULATOR_H
