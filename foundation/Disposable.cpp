#include "Disposable.h"

namespace Kelp {

Disposable::Disposable() = default;
Disposable::~Disposable() = default;

}  // namespace Kelp
