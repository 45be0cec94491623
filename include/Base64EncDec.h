// Base64 (the standard alphabet of RFC 4648, with padding, without line breaks), in memory and between streams.
//
// The decoder also takes the URL-safe digits '-' and '_', which it rewrites in its input to '+' and '/'. It does not
// skip white space: space, form feed, tab, line feed, carriage return and vertical tab count as digits of the values 64
// to 69 and corrupt their group, so drop them first. Padding does not end the text: groups behind it are decoded too.
//
// Threads: stateless; can be used on any thread. Sizes are bytes; all arithmetic on them is in 32 bits.
#ifndef KELP_RPC_BASE64_ENC_DEC_H
#define KELP_RPC_BASE64_ENC_DEC_H

#include <stdio.h>

#include "KelpExport.h"
#include "KelpObject.h"
#include "KelpReturnCode.h"

namespace Kelp {

class KELP_EXPORT Base64EncDec : public KelpObject {
 public:
  Base64EncDec();
  ~Base64EncDec() override;

  // The room that putBase64() demands for the text of `n` bytes: the text's size, or 1 to 3 more when `n` is not a
  // multiple of 3.
  unsigned int encodeSize(unsigned int n) const;

  // The most bytes that well-formed text of `n` characters decodes to.
  unsigned int decodeMaxSize(unsigned int n) const;

  // Encodes `inSize` bytes to `out`, which has room for `maxSize` characters; no terminating NUL. `outSize` becomes the
  // number of characters. No bytes, or 2^31 and more, give none.
  // Returns "OK" (0), or "Invalid Parameter" (1), with nothing touched, when a pointer is null or encodeSize(inSize)
  // exceeds `maxSize`. encodeSize() wraps round from 2^30 bytes on: text that then finds no room ends the process.
  CommonReturnCode_t putBase64(const unsigned char* in, unsigned int inSize, unsigned char* out, unsigned int maxSize,
                               unsigned int& outSize) const;

  // Encodes the `size` bytes at `data` to a stream, whose errors are left to its owner (ferror()). `size` stays as it
  // is. Returns "OK" (0), or "Invalid Parameter" (1) when a pointer is null.
  CommonReturnCode_t putBase64Mem(void* data, unsigned int& size, FILE* out) const;

  // Encodes all that is left to read from `in` to `out`; the errors of both are left to their owners (ferror()).
  // Returns "OK" (0), or "Invalid Parameter" (1) when a pointer is null.
  CommonReturnCode_t putBase64(FILE* in, FILE* out) const;

  // Decodes `len` characters in place: the bytes overwrite the front of `buf`, `outSize` becomes their number.
  // REQUIRES: memory that can be read and written up to the next multiple of 4 characters, which are decoded as well
  // unless a NUL or '#' comes first. Such a character is not passed: it ends its group as padding does, and each group
  // that is still due gives one byte 0.
  // Returns "OK" (0); "Invalid Protocol" (10) on a character that is neither a digit nor padding, with `outSize` the
  // bytes that stand decoded; "Invalid Parameter" (1) when `buf` is null and `len` is not 0.
  CommonReturnCode_t getBase64(char* buf, unsigned int len, unsigned int& outSize) const;

  // As above, with the bytes written to `out`, which has room for `maxOut` of them and may be the same as `in`.
  // "Invalid Parameter" (1) also when there are more; `maxOut` bytes are then written. What `out` holds behind the
  // decoded bytes stays as it is.
  CommonReturnCode_t getBase64(char* in, unsigned int len, char* out, unsigned int maxOut, unsigned int& outSize) const;
};

}  // namespace Kelp

#endif  // KELP_RPC_BASE64_ENC_DEC_H
