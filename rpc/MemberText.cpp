#include "rpc/MemberText.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <limits>

#include "SysFunc.h"

namespace Kelp {

MemberText::~MemberText() {
  SysFunc::kelpFree(m_pText);
}

int MemberText::toDecimal() const {
  // A long has 32 bits on the device, and strtol stops at its ends.
  const long value = strtol(m_pText, nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void MemberText::toHexadecimal(int& value) const {
  unsigned int scanned = 0;
  // NOLINTNEXTLINE(cert-err34-c): what sscanf takes for a number is the rule, too many digits included
  if (sscanf(m_pText, "%08X", &scanned) == 1) {
    value = static_cast<int>(scanned);
  }
}

}  // namespace Kelp
