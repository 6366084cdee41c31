// A fixed team of worker threads that runs one numbered job per processor and waits for all of
// them, which is what a plug-in's sparkMpFork asks of its host.
#ifndef SPARKHOST_LIB_JOBPOOL_H
#define SPARKHOST_LIB_JOBPOOL_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace sparkhost {

class JobPool {
public:
    JobPool() = default;
    ~JobPool();
    JobPool(const JobPool&) = delete;
    JobPool& operator=(const JobPool&) = delete;

    // Runs job(0) .. job(count - 1) concurrently (job 0 on the calling thread) and returns when
    // all have finished. A call made from inside a job, or while another thread's run is under
    // way, runs its jobs one after the other on the calling thread instead.
    void run(int count, const std::function<void(int)>& job);

    // The index of the job the calling thread is running, or -1 outside a job.
    static int currentJob();
    static int currentJobCount();

private:
    void workerLoop(int worker, unsigned long seen);
    void grow(int workers);  // called with mutex_ held

    std::mutex runMutex_;  // one parallel run at a time
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    std::vector<std::thread> threads_;
    const std::function<void(int)>* job_ = nullptr;
    int jobCount_ = 0;
    int pending_ = 0;
    unsigned long generation_ = 0;
    bool stopping_ = false;
};

}  // namespace sparkhost

#endif
