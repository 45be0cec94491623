// A host that uses Kelp but calls no function of json-c itself.
#include <AppPrefBoolean.h>
#include <IpcAddressApi.h>
#include <KelpReturnCode.h>
#include <Mutex.h>
#include <stdio.h>

#include <memory>

namespace {

class CountedAddress : public Kelp::IpcAddressApi {
 public:
  using IpcAddressApi::IpcAddressApi;
};

// What the library and its hosts have to agree on beyond calls: types on both sides of the border.
bool isApiAddress(const Kelp::IpcAddress& address) {
  return dynamic_cast<const Kelp::IpcAddressApi*>(&address) != nullptr;
}

bool areTypesKnown() {
  const CountedAddress own(1);
  const std::unique_ptr<Kelp::IpcAddress> made(own.clone());
  return isApiAddress(own) && isApiAddress(*made) && dynamic_cast<CountedAddress*>(made.get()) == nullptr;
}

}  // namespace

int main() {
  Kelp::Mutex mutex;
  const Kelp::Mutex::ScopedLock lock(mutex);
  if (!areTypesKnown()) {
    return 1;
  }
  const std::string error = Kelp::KelpReturnCode::getReturnCodeString(Kelp::CommonReturnCode_IoError);
  printf("%s, %s\n", error.c_str(), Kelp::AppPrefBoolean::s_strTrue.c_str());
}
