// Receivers and exec objects whose work a test gives as a function.
#ifndef KELP_TESTS_SUPPORT_LOOP_ACTORS_H
#define KELP_TESTS_SUPPORT_LOOP_ACTORS_H

#include <functional>

#include "Disposable.h"
#include "EventReceiver.h"
#include "ExecObject.h"
#include "support/Pipe.h"

namespace KelpTest {

using Action = std::function<void()>;

// A receiver on the read end of a pipe of its own: reads one byte per call and runs its action.
class PipeReceiver : public Kelp::EventReceiver, public Kelp::Disposable {
 public:
  explicit PipeReceiver(Action action = {});
  ~PipeReceiver() override;

  // Makes the receiver ready, once more for each call. Can be called on any thread.
  void trigger();

  int calls() const;
  void receiveAndExecuteEvent() override;

 private:
  Pipe m_pipe;
  Action m_action;
  int m_calls;
};

class FunctionExecObject : public Kelp::ExecObject {
 public:
  explicit FunctionExecObject(Action action, Action destroyed = {});
  ~FunctionExecObject() override;

  void doExecute() override;

 private:
  Action m_action;
  Action m_destroyed;
};

// Tells when it is deleted.
class FunctionDisposable : public Kelp::Disposable {
 public:
  explicit FunctionDisposable(Action destroyed);
  ~FunctionDisposable() override;

 private:
  Action m_destroyed;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_LOOP_ACTORS_H
