// A pipe that closes what is left of it at the end of its scope.
#ifndef KELP_TESTS_SUPPORT_PIPE_H
#define KELP_TESTS_SUPPORT_PIPE_H

namespace KelpTest {

class Pipe {
 public:
  Pipe();  // both ends block and are close-on-exec
  ~Pipe();
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int readEnd() const;
  int writeEnd() const;

  // Hands the end over to the caller, who closes it.
  int takeReadEnd();
  int takeWriteEnd();

  void closeReadEnd();
  void closeWriteEnd();

  // Writes into the pipe until it would block.
  void fill();

 private:
  int m_fds[2];  // -1: closed or taken
};

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_PIPE_H
