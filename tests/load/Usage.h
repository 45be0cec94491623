// What processes of one kind take of the machine, sampled, and whether any of them takes more and more.
#ifndef KELP_TESTS_LOAD_USAGE_H
#define KELP_TESTS_LOAD_USAGE_H

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace KelpTest {

class Usage {
 public:
  Usage(std::string name, const std::vector<pid_t>& pids);

  void sample();

  const std::string& name() const;
  size_t processes() const;
  int64_t peakKiB() const;            // the most resident memory of each, together; of processes that still run
  int64_t fewestDescriptors() const;  // of each, together

  // Of the process that has grown most, from the first third of the samples to the last one: by their medians, and by
  // the fewest descriptors, because some are open for a moment only. 0 where there are fewer than three samples.
  int64_t memoryGrowthKiB() const;
  int64_t descriptorGrowth() const;

  int64_t averageMemoryGrowthKiB() const;

 private:
  struct Process {
    pid_t pid;
    std::vector<int64_t> kiB;
    std::vector<int64_t> descriptors;
  };

  const std::string m_name;
  std::vector<Process> m_processes;
};

}  // namespace KelpTest

#endif  // KELP_TESTS_LOAD_USAGE_H
