// Requests and observers whose work a test gives as a function.
#ifndef KELP_TESTS_THREAD_WORKER_ACTORS_H
#define KELP_TESTS_THREAD_WORKER_ACTORS_H

#include <pthread.h>

#include <functional>
#include <utility>

#include "EventLooperMultiWait.h"
#include "ExecObjectEventSender.h"
#include "WorkerThreadService.h"
#include "support/LoopActors.h"

namespace KelpTest {

class FunctionRequest : public Kelp::WorkerThreadService::RequestToWorkerThread {
 public:
  explicit FunctionRequest(Action action = {}) : m_action(std::move(action)) {}
  void executeInWorkerThread() override {
    if (m_action) {
      m_action();
    }
  }

 private:
  Action m_action;
};

class FunctionObserver : public Kelp::WorkerThreadService::WorkerObserver {
 public:
  using Request = Kelp::WorkerThreadService::RequestToWorkerThread;
  using Function = std::function<void(Kelp::WorkerThreadExecId_t, Request&)>;
  explicit FunctionObserver(Function function = {}) : m_function(std::move(function)) {}
  void notifyFromWorkerThread(Kelp::WorkerThreadExecId_t execId, Request& request) override {
    if (m_function) {
      m_function(execId, request);
    }
  }

 private:
  Function m_function;
};

// Has the looper do it as soon as it runs. Can be called on any thread.
inline void post(Kelp::EventLooperMultiWait& looper, Action action) {
  looper.getExecObjectEventSender().send(*new FunctionExecObject(std::move(action)));
}

// The stack's size of the calling thread, in bytes.
inline size_t ownStackSize() {
  pthread_attr_t attributes;
  size_t size = 0;
  if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
    pthread_attr_getstacksize(&attributes, &size);
    pthread_attr_destroy(&attributes);
  }
  return size;
}

}  // namespace KelpTest

#endif  // KELP_TESTS_THREAD_WORKER_ACTORS_H
