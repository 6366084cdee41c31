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

    // Runs job(0) .. job(count - 1), at most `width` at a time (0: all at once), the calling
    // thread taking part, and returns when all have finished. Each job keeps its own index
    // whichever thread runs it. A call made from inside a job, or while another thread's run is
    // under way, runs its jobs one after the other on the calling thread instead.
    void run(int count, const std::function<void(int)>& job, int width = 0);

    // The index of the job the calling thread is running, or -1 outside a job.
    static int currentJob();
    static int currentJobCount();

private:
    void workerLoop(int worker, unsigned long seen);
    void takeJobs();  // runs jobs of the current run until none is left
    void grow(int workers);  // called with mutex_ held

    std::mutex runMutex_;  // one parallel run at a time
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    std::vector<std::thread> threads_;
    const std::function<void(int)>* job_ = nullptr;
    int jobCount_ = 0;
    int helpers_ = 0;     // workers taking part in the current run
    int nextJob_ = 0;     // the next job index to hand out
    int pending_ = 0;
    unsigned long generation_ = 0;
    bool stopping_ = false;
};

}  // namespace sparkhost

#endif
