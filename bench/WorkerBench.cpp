// The worker service beside a bare pool that does the same hand-offs: one pipe of pointers that two threads read, and a
// pipe of pointers back in the asker's epoll set.
#include <pthread.h>

#include <vector>

#include "EventLooperMultiWait.h"
#include "ExecObject.h"
#include "ExecObjectEventSender.h"
#include "WorkerThreadService.h"
#include "support/Clock.h"
#include "support/Comparison.h"
#include "support/EpollLoop.h"
#include "support/PointerPipe.h"

using namespace KelpBench;

namespace {

constexpr int kWorkers = 2;
constexpr int kRoundTrips = 20000;
constexpr int kJobs = 200000;
constexpr int kJobsUnderWay = 64;

// What a side measures: each answer of one job under way, or the CPU time of many.
struct Course {
  explicit Course(int jobs) : unasked(jobs), unanswered(jobs) {}

  int unasked;
  int unanswered;
};

// --- Kelp

class EmptyJob : public Kelp::WorkerThreadService::RequestToWorkerThread {
 public:
  void executeInWorkerThread() override {}
};

class Asker : public Kelp::WorkerThreadService::WorkerObserver {
 public:
  Asker(Kelp::EventLooperMultiWait& looper, int jobs) : m_looper(looper), m_course(jobs), m_start(0) {}

  void ask() {
    --m_course.unasked;
    m_start = monotonicNanoseconds();
    Kelp::WorkerThreadService::getInstance().putRequest(m_job, *this);
  }

  void notifyFromWorkerThread(Kelp::WorkerThreadExecId_t /*execId*/,
                              Kelp::WorkerThreadService::RequestToWorkerThread& /*request*/) override {
    if (m_latencies.capacity() > 0) {
      m_latencies.push_back(static_cast<double>(monotonicNanoseconds() - m_start));
    }
    if (m_course.unasked > 0) {
      ask();
    }
    if (--m_course.unanswered == 0) {
      m_looper.exitEventLoop();
    }
  }

  std::vector<double>& latencies() { return m_latencies; }

 private:
  Kelp::EventLooperMultiWait& m_looper;
  Course m_course;
  int64_t m_start;
  EmptyJob m_job;
  std::vector<double> m_latencies;
};

// Puts the first jobs when the loop runs.
class Beginning : public Kelp::ExecObject {
 public:
  Beginning(Asker& asker, int jobs) : m_asker(asker), m_jobs(jobs) {}
  void doExecute() override {
    for (int i = 0; i < m_jobs; ++i) {
      m_asker.ask();
    }
  }

 private:
  Asker& m_asker;
  int m_jobs;
};

double kelpRoundTrip() {
  Kelp::EventLooperMultiWait looper;
  Asker asker(looper, kRoundTrips);
  asker.latencies().reserve(kRoundTrips);
  looper.getExecObjectEventSender().send(*new Beginning(asker, 1));
  looper.runEventLoop();
  return median(asker.latencies());
}

double kelpJobs() {
  Kelp::EventLooperMultiWait looper;
  Asker asker(looper, kJobs);
  looper.getExecObjectEventSender().send(*new Beginning(asker, kJobsUnderWay));
  const int64_t start = processCpuNanoseconds();
  looper.runEventLoop();
  return static_cast<double>(processCpuNanoseconds() - start) / kJobs;
}

// --- The bare pool

class Command {
 public:
  virtual ~Command() = default;
  virtual bool execute() = 0;  // false ends who executes it
};

using CommandPipe = PointerPipe<Command>;

class EndCommand : public Command {
 public:
  bool execute() override { return false; }
};

// Threads of the same stack size as Kelp's.
class BarePool {
 public:
  BarePool() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    require(pthread_attr_setstacksize(&attributes, 16384) == 0, "pthread_attr_setstacksize");
    for (pthread_t& thread : m_threads) {
      require(pthread_create(&thread, &attributes, serve, &m_requests) == 0, "pthread_create");
    }
    pthread_attr_destroy(&attributes);
  }
  ~BarePool() {
    for (int i = 0; i < kWorkers; ++i) {
      m_requests.send(new EndCommand);
    }
    for (const pthread_t thread : m_threads) {
      pthread_join(thread, nullptr);
    }
  }
  BarePool(const BarePool&) = delete;
  BarePool& operator=(const BarePool&) = delete;

  const CommandPipe& requests() const { return m_requests; }

 private:
  static void* serve(void* requests) {
    while (static_cast<const CommandPipe*>(requests)->receive()->execute()) {
    }
    return nullptr;
  }

  CommandPipe m_requests;
  pthread_t m_threads[kWorkers];
};

class PlainJob {
 public:
  virtual ~PlainJob() = default;
  virtual void execute() {}
};

class PlainAsker {
 public:
  PlainAsker(const BarePool& pool, int jobs) : m_pool(pool), m_course(jobs), m_start(0) {
    m_loop.add(m_back.readEnd());
  }

  void run(int jobsUnderWay) {
    for (int i = 0; i < jobsUnderWay; ++i) {
      ask();
    }
    m_loop.run([this](int) { return m_back.receive()->execute(); });
  }

  bool notify() {
    if (m_latencies.capacity() > 0) {
      m_latencies.push_back(static_cast<double>(monotonicNanoseconds() - m_start));
    }
    if (m_course.unasked > 0) {
      ask();
    }
    return --m_course.unanswered > 0;
  }

  PlainJob& job() { return m_job; }
  const CommandPipe& back() const { return m_back; }
  std::vector<double>& latencies() { return m_latencies; }

 private:
  void ask();

  const BarePool& m_pool;
  CommandPipe m_back;
  EpollLoop m_loop;
  Course m_course;
  int64_t m_start;
  PlainJob m_job;
  std::vector<double> m_latencies;
};

class ReturnCommand : public Command {
 public:
  explicit ReturnCommand(PlainAsker& asker) : m_asker(asker) {}
  bool execute() override { return m_asker.notify(); }

 private:
  PlainAsker& m_asker;
};

class RequestCommand : public Command {
 public:
  explicit RequestCommand(PlainAsker& asker) : m_asker(asker) {}
  bool execute() override {
    m_asker.job().execute();
    m_asker.back().send(new ReturnCommand(m_asker));
    return true;
  }

 private:
  PlainAsker& m_asker;
};

void PlainAsker::ask() {
  --m_course.unasked;
  m_start = monotonicNanoseconds();
  m_pool.requests().send(new RequestCommand(*this));
}

double floorRoundTrip(const BarePool& pool) {
  PlainAsker asker(pool, kRoundTrips);
  asker.latencies().reserve(kRoundTrips);
  asker.run(1);
  return median(asker.latencies());
}

double floorJobs(const BarePool& pool) {
  PlainAsker asker(pool, kJobs);
  const int64_t start = processCpuNanoseconds();
  asker.run(kJobsUnderWay);
  return static_cast<double>(processCpuNanoseconds() - start) / kJobs;
}

}  // namespace

int main() {
  Kelp::WorkerThreadService::createInstance(kWorkers);
  {
    const BarePool pool;
    compare("Job to a worker and back", Figure::Nanoseconds, atMost(1.15), kelpRoundTrip,
            [&] { return floorRoundTrip(pool); });
    compare("Job with 64 under way, CPU", Figure::Nanoseconds, atMost(1.2), kelpJobs, [&] { return floorJobs(pool); });
  }
  Kelp::WorkerThreadService::destroyInstance();
}
