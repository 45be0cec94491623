// The one place that decides how large the workers' stacks are.
#ifndef KELP_THREAD_WORKER_STACK_SIZE_H
#define KELP_THREAD_WORKER_STACK_SIZE_H

namespace Kelp {

// What the platform is built for, on 32 and on 64 bits.
constexpr int kWorkerStackSize = 16384;

// In bytes: kWorkerStackSize, or what a sanitizer's build or this machine needs where that is more.
int workerStackSize();

// The same on a machine whose smallest stack, in bytes, is `smallestStack`; 0 or less where the machine names none.
int workerStackSize(long smallestStack);

}  // namespace Kelp

#endif  // KELP_THREAD_WORKER_STACK_SIZE_H
