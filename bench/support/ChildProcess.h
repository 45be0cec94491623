// The other process of a benchmark.
#ifndef KELP_BENCH_SUPPORT_CHILD_PROCESS_H
#define KELP_BENCH_SUPPORT_CHILD_PROCESS_H

#include <sys/types.h>

#include <functional>

namespace KelpBench {

// A forked process that runs `body` and exits. It shares nothing with its parent but a byte pipe in either direction.
class ChildProcess {
 public:
  // One end of the two pipes.
  class Link {
   public:
    Link(int readFd, int writeFd) : m_readFd(readFd), m_writeFd(writeFd) {}

    template <typename Value>
    void send(const Value& value) const {
      sendBytes(&value, sizeof(value));
    }
    template <typename Value>
    Value receive() const {
      Value value{};
      receiveBytes(&value, sizeof(value));
      return value;
    }

    // For telling only that something has happened.
    void signal() const { send('!'); }
    void wait() const { receive<char>(); }

    int readFd() const { return m_readFd; }
    int writeFd() const { return m_writeFd; }

   private:
    void sendBytes(const void* bytes, size_t size) const;
    void receiveBytes(void* bytes, size_t size) const;

    int m_readFd;
    int m_writeFd;
  };

  explicit ChildProcess(const std::function<void(const Link& parent)>& body);
  ~ChildProcess();  // waits for its end, and ends this process where the child has failed
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  const Link& link() const { return m_link; }
  pid_t pid() const { return m_pid; }

 private:
  Link m_link;
  pid_t m_pid;
};

}  // namespace KelpBench

#endif  // KELP_BENCH_SUPPORT_CHILD_PROCESS_H
