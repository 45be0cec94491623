#include "thread/WorkerStackSize.h"

#include <unistd.h>

#include <algorithm>

#ifdef __has_feature
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define KELP_HAS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELP_HAS_SANITIZER
#endif

namespace Kelp {

namespace {

#ifdef KELP_HAS_SANITIZER
constexpr long kBuildsStackSize = 1024L * 1024;  // instrumented frames and the sanitizer's own calls are far larger
#else
constexpr long kBuildsStackSize = kWorkerStackSize;
#endif

}  // namespace

int workerStackSize() {
  return workerStackSize(::sysconf(_SC_THREAD_STACK_MIN));
}

int workerStackSize(long smallestStack) {
  return static_cast<int>(std::max(kBuildsStackSize, smallestStack));
}

}  // namespace Kelp
