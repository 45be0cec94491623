#include "load/Usage.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <utility>

namespace KelpTest {

namespace {

// A line of one of the kernel's accounts of the process.
int64_t kiBIn(pid_t pid, const char* account, const std::string& name) {
  std::ifstream lines("/proc/" + std::to_string(pid) + "/" + account);
  std::string word;
  int64_t kiB = 0;
  while (lines >> word) {
    if (word == name + ":") {
      lines >> kiB;
    }
  }
  return kiB;
}

// Counted page by page; the figures in the other accounts are some pages off for each processor.
int64_t residentKiB(pid_t pid) {
  return kiBIn(pid, "smaps_rollup", "Rss");
}

int64_t openDescriptors(pid_t pid) {
  std::error_code error;
  const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd", error);
  return error ? 0 : std::distance(entries, std::filesystem::directory_iterator());
}

int64_t medianOf(std::vector<int64_t> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

int64_t leastOf(std::vector<int64_t> values) {
  return *std::min_element(values.begin(), values.end());
}

// What `fold` makes of the last third of the values, less what it makes of the first one.
int64_t growthOf(const std::vector<int64_t>& values, int64_t (*fold)(std::vector<int64_t>)) {
  const auto third = static_cast<ptrdiff_t>(values.size() / 3);
  if (third == 0) {
    return 0;
  }
  return fold({values.end() - third, values.end()}) - fold({values.begin(), values.begin() + third});
}

template <typename Processes, typename Quantity>
int64_t sumOver(const Processes& processes, const Quantity& quantityOf) {
  return std::accumulate(processes.begin(), processes.end(), int64_t{0},
                         [&](int64_t sum, const auto& process) { return sum + quantityOf(process); });
}

template <typename Processes, typename Quantity>
int64_t mostOf(const Processes& processes, const Quantity& quantityOf) {
  return std::accumulate(processes.begin(), processes.end(), int64_t{0},
                         [&](int64_t most, const auto& process) { return std::max(most, quantityOf(process)); });
}

}  // namespace

Usage::Usage(std::string name, const std::vector<pid_t>& pids) : m_name(std::move(name)) {
  for (const pid_t pid : pids) {
    m_processes.push_back({pid, {}, {}});
  }
}

void Usage::sample() {
  for (Process& process : m_processes) {
    process.kiB.push_back(residentKiB(process.pid));
    process.descriptors.push_back(openDescriptors(process.pid));
  }
}

const std::string& Usage::name() const {
  return m_name;
}

size_t Usage::processes() const {
  return m_processes.size();
}

int64_t Usage::peakKiB() const {
  return sumOver(m_processes, [](const Process& process) { return kiBIn(process.pid, "status", "VmHWM"); });
}

int64_t Usage::fewestDescriptors() const {
  return sumOver(m_processes,
                 [](const Process& process) { return process.descriptors.empty() ? 0 : leastOf(process.descriptors); });
}

int64_t Usage::memoryGrowthKiB() const {
  return mostOf(m_processes, [](const Process& process) { return growthOf(process.kiB, medianOf); });
}

int64_t Usage::descriptorGrowth() const {
  return mostOf(m_processes, [](const Process& process) { return growthOf(process.descriptors, leastOf); });
}

int64_t Usage::averageMemoryGrowthKiB() const {
  return sumOver(m_processes, [](const Process& process) { return growthOf(process.kiB, medianOf); }) /
         static_cast<int64_t>(m_processes.size());
}

}  // namespace KelpTest
