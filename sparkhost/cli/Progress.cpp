#include "Progress.h"

#include <cstdio>

namespace sparkhost {

Progress::Progress(bool terminal) : terminal_(terminal) {}

void Progress::start(int total) {
    total_ = total;
    done_ = 0;
    start_ = std::chrono::steady_clock::now();
}

double Progress::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::frameDone(int done, int frame) {
    done_ = done;
    if (!terminal_) return;
    double elapsed = seconds();
    double fps = elapsed > 0 ? done / elapsed : 0.0;
    int left = fps > 0 ? int((total_ - done) / fps + 0.5) : 0;
    std::fprintf(stderr, "\r\033[Kframe %d of %d (frame %d)  %.2f fps  %d:%02d left", done, total_,
                 frame, fps, left / 60, left % 60);
    std::fflush(stderr);
    lineShown_ = true;
}

void Progress::clearLine() {
    if (!terminal_ || !lineShown_) return;
    std::fputs("\r\033[K", stderr);
    lineShown_ = false;
}

void Progress::finish(const std::string& what) {
    clearLine();
    double elapsed = seconds();
    std::fprintf(stderr, "sparkhost: rendered %d frame%s in %.2f s (%.2f fps)%s\n", done_,
                 done_ == 1 ? "" : "s", elapsed, elapsed > 0 ? done_ / elapsed : 0.0, what.c_str());
    std::fflush(stderr);
}

}  // namespace sparkhost
