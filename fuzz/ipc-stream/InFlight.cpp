#include "fuzz/ipc-stream/InFlight.h"

#include <stddef.h>

#include <new>

#include "IpcAddress.h"
#include "SysFunc.h"

namespace KelpFuzz {

namespace {

bool s_isNoting = false;
void* s_payload = nullptr;
void* s_source = nullptr;

}  // namespace

InFlight::InFlight() {
  s_isNoting = true;
  s_payload = nullptr;
  s_source = nullptr;
}

InFlight::~InFlight() {
  s_isNoting = false;
}

void InFlight::release() {
  delete static_cast<Kelp::IpcAddress*>(s_source);
  Kelp::SysFunc::kelpFree(s_payload);
}

}  // namespace KelpFuzz

// The library's payloads come from malloc(), its addresses from the operator new that does not throw.
// The prefixes are the linker's, for wrapped calls.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
  void* const block = __real_malloc(size);
  if (KelpFuzz::s_isNoting) {
    KelpFuzz::s_payload = block;
  }
  return block;
}

#if __SIZEOF_SIZE_T__ == 8
#define KELP_FUZZ_REAL_NEW __real__ZnwmRKSt9nothrow_t
#define KELP_FUZZ_WRAP_NEW __wrap__ZnwmRKSt9nothrow_t
#else
#define KELP_FUZZ_REAL_NEW __real__ZnwjRKSt9nothrow_t
#define KELP_FUZZ_WRAP_NEW __wrap__ZnwjRKSt9nothrow_t
#endif
extern "C" void* KELP_FUZZ_REAL_NEW(size_t size, const std::nothrow_t& tag) noexcept;
extern "C" void* KELP_FUZZ_WRAP_NEW(size_t size, const std::nothrow_t& tag) noexcept;
extern "C" void* KELP_FUZZ_WRAP_NEW(size_t size, const std::nothrow_t& tag) noexcept {
  void* const block = KELP_FUZZ_REAL_NEW(size, tag);
  if (KelpFuzz::s_isNoting) {
    KelpFuzz::s_source = block;
  }
  return block;
}
