// Render progress: a live line on a terminal (frame n of N, frames per second, time left), and
// one summary line at the end wherever standard error goes.
#ifndef SPARKHOST_CLI_PROGRESS_H
#define SPARKHOST_CLI_PROGRESS_H

#include <chrono>
#include <string>

namespace sparkhost {

class Progress {
public:
    explicit Progress(bool terminal);
    void start(int total);
    void frameDone(int done, int frame);
    // Clears the live line so that a message can be printed on a line of its own.
    void clearLine();
    void finish(const std::string& what);
    double seconds() const;

private:
    bool terminal_;
    bool lineShown_ = false;
    int total_ = 0;
    int done_ = 0;
    std::chrono::steady_clock::time_point start_;
};

}  // namespace sparkhost

#endif
