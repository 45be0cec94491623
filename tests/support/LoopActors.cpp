#include "support/LoopActors.h"

#include <stdlib.h>
#include <unistd.h>

#include <utility>

namespace KelpTest {

PipeReceiver::PipeReceiver(Action action) : EventReceiver(true), m_action(std::move(action)), m_calls(0) {
  setFd(m_pipe.takeReadEnd());
}

PipeReceiver::~PipeReceiver() = default;

void PipeReceiver::trigger() {
  if (write(m_pipe.writeEnd(), "a", 1) != 1) {
    abort();
  }
}

int PipeReceiver::calls() const {
  return m_calls;
}

void PipeReceiver::receiveAndExecuteEvent() {
  char byte = 0;
  if (getFdOperator().read(&byte, 1, -1) != 1) {
    abort();
  }
  m_calls++;
  if (m_action) {
    const Action action = m_action;  // which may destroy the receiver
    action();
  }
}

FunctionExecObject::FunctionExecObject(Action action, Action destroyed)
    : m_action(std::move(action)), m_destroyed(std::move(destroyed)) {}

FunctionExecObject::~FunctionExecObject() {
  if (m_destroyed) {
    m_destroyed();
  }
}

void FunctionExecObject::doExecute() {
  if (m_action) {
    m_action();
  }
}

FunctionDisposable::FunctionDisposable(Action destroyed) : m_destroyed(std::move(destroyed)) {}

FunctionDisposable::~FunctionDisposable() {
  m_destroyed();
}

}  // namespace KelpTest
