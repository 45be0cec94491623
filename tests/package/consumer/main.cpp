// A host that uses Kelp but calls no function of json-c itself.
#include <KelpReturnCode.h>
#include <Mutex.h>
#include <stdio.h>

int main() {
  Kelp::Mutex mutex;
  const Kelp::Mutex::ScopedLock lock(mutex);
  printf("%s\n", Kelp::KelpReturnCode::getReturnCodeString(Kelp::CommonReturnCode_IoError).c_str());
}
