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

void JobPool::takeJobs() {
    for (;;) {
        int index, count;
        const std::function<void(int)>* job;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (nextJob_ >= jobCount_) return;
            index = nextJob_++;
            count = jobCount_;
            job = job_;
        }
        JobScope scope(index, count);
        (*job)(index);
    }
}

void JobPool::workerLoop(int worker, unsigned long seen) {
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, [&] { return stopping_ || generation_ != seen; });
            if (stopping_) return;
            seen = generation_;
            if (worker >= helpers_) continue;  // this run needs fewer workers
        }
        takeJobs();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (--pending_ == 0) done_.notify_all();
        }
    }
}

void JobPool::run(int count, const std::function<void(int)>& job, int width) {
    if (count <= 0) return;
    if (width <= 0 || width > count) width = count;
    std::unique_lock<std::mutex> exclusive(runMutex_, std::try_to_lock);
    if (width == 1 || tJob >= 0 || !exclusive.owns_lock()) {
        for (int i = 0; i < count; ++i) {
            JobScope scope(i, count);
            job(i);
        }
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        grow(width - 1);
        job_ = &job;
        jobCount_ = count;
        nextJob_ = 0;
        helpers_ = width - 1;
        pending_ = width - 1;
        ++generation_;
    }
    wake_.notify_all();
    takeJobs();
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [&] { return pending_ == 0; });
    job_ = nullptr;
}

}  // namespace sparkhost
