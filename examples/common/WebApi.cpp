#include "common/WebApi.h"

namespace KelpExample {

bool isReturnCode(int number) {
  constexpr int kUnused[] = {6, 12};
  if (number < Kelp::CommonReturnCode_Ok || number > Kelp::CommonReturnCode_InvalidApplicationPreference) {
    return false;
  }
  return number != kUnused[0] && number != kUnused[1];
}

}  // namespace KelpExample
