#include "sparkhost/lib/JobPool.h"

namespace sparkhost {

namespace {

thread_local int tJob = -1;
thread_local int tJobCount = 0;

// Sets the calling thread's job index for the duration of one job.
struct JobScope {
    int savedJob, savedCount;
    JobScope(int job, int count) : savedJob(tJob), savedCount(tJobCount) {
        tJob = job;
        tJobCount = count;
    }
    ~JobScope() {
        tJob = savedJob;
        tJobCount = savedCount;
    }
};

}  // namespace

int JobPool::currentJob() { return tJob; }
int JobPool::currentJobCount() { return tJobCount; }

JobPool::~JobPool() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (auto& t : threads_) t.join();
}

void JobPool::grow(int workers) {
    while (int(threads_.size()) < workers) {
        int index = int(threads_.size());
        // A new worker has seen every run so far: it takes part from the next one on.
        unsigned long seen = generation_;
        threads_.emplace_back([this, index, seen] { workerLoop(index, seen); });
    }
}

void JobPool::workerLoop(int worker, unsigned long seen) {
    for (;;) {
        const std::function<void(int)>* job = nullptr;
        int count = 0;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, [&] { return stopping_ || generation_ != seen; });
            if (stopping_) return;
            seen = generation_;
            if (worker + 1 >= jobCount_) continue;  // this run needs fewer workers
            job = job_;
            count = jobCount_;
        }
        {
            JobScope scope(worker + 1, count);
            (*job)(worker + 1);
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (--pending_ == 0) done_.notify_all();
        }
    }
}

void JobPool::run(int count, const std::function<void(int)>& job) {
    if (count <= 0) return;
    std::unique_lock<std::mutex> exclusive(runMutex_, std::try_to_lock);
    if (count == 1 || tJob >= 0 || !exclusive.owns_lock()) {
        for (int i = 0; i < count; ++i) {
            JobScope scope(i, count);
            job(i);
        }
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        grow(count - 1);
        job_ = &job;
        jobCount_ = count;
        pending_ = count - 1;
        ++generation_;
    }
    wake_.notify_all();
    {
        JobScope scope(0, count);
        job(0);
    }
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [&] { return pending_ == 0; });
    job_ = nullptr;
}

}  // namespace sparkhost
