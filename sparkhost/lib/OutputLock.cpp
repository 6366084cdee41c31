#include "sparkhost/lib/OutputLock.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sparkhost {

namespace {

// The lock of this process, for the handler of an interrupting signal.
int gLockFd = -1;
char gLockPath[PATH_MAX + 64];

bool lockBytes(int fd, short type, long first, long count, int command, struct flock* result = nullptr) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = first;
    lock.l_len = count;  // 0: to the end of any file
    bool ok = ::fcntl(fd, command, &lock) == 0;
    if (result) *result = lock;
    return ok;
}

// When no other process holds any of the file's bytes, removes the file (while holding it whole,
// so that nobody takes it in between) and closes it.
void removeIfLast(int fd, const char* path) {
    if (lockBytes(fd, F_WRLCK, 0, 0, F_SETLK)) ::unlink(path);
    ::close(fd);
}

std::string frameText(long first, long last) {
    return first == last ? "frame " + std::to_string(first)
                         : "frames " + std::to_string(first) + "-" + std::to_string(last);
}

}  // namespace

std::string OutputLock::lockPath(const SequencePattern& output) {
    std::string pattern = output.hashPattern();
    size_t slash = pattern.rfind('/');
    std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : pattern.substr(0, slash);
    std::string name = slash == std::string::npos ? pattern : pattern.substr(slash + 1);
    // The folder as the system resolves it, so that renders reaching it by different paths meet.
    char resolved[PATH_MAX];
    if (::realpath(folder.c_str(), resolved)) folder = resolved;
    return folder + (folder.back() == '/' ? "" : "/") + "." + name + ".sparkhost-lock";
}

bool OutputLock::take(const SequencePattern& output, const std::vector<int>& frames, std::string* error) {
    std::vector<int> sorted = frames;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (!output.isSequence()) sorted = {0};
    std::string path = lockPath(output);
    for (;;) {
        int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) {
            *error = "cannot make the lock file '" + path + "' of output '" + output.pattern() + "': " +
                     std::strerror(errno);
            return false;
        }
        // Runs of consecutive frames, each locked as one range of bytes.
        for (size_t i = 0; i < sorted.size();) {
            size_t j = i;
            while (j + 1 < sorted.size() && sorted[j + 1] == sorted[j] + 1) ++j;
            if (!lockBytes(fd, F_WRLCK, sorted[i], long(sorted[j]) - sorted[i] + 1, F_SETLK)) {
                struct flock holder;
                bool known = lockBytes(fd, F_WRLCK, sorted[i], long(sorted[j]) - sorted[i] + 1, F_GETLK, &holder) &&
                             holder.l_type != F_UNLCK;
                std::string who = known ? "process " + std::to_string(holder.l_pid) : "another process";
                if (known) {
                    long first = std::max<long>(holder.l_start, sorted[i]);
                    long last = holder.l_len == 0 ? sorted[j] : std::min<long>(holder.l_start + holder.l_len - 1, sorted[j]);
                    who += ", " + frameText(first, last);
                }
                *error = "output '" + output.pattern() + "' is being written by another render (" + who +
                         "); wait for it to end or write the frames elsewhere";
                ::close(fd);
                return false;
            }
            i = j + 1;
        }
        // A render that ended in between may have removed the file just opened; locks on it would
        // guard nothing, so the claim is made again on the file now there.
        struct stat held, named;
        if (::fstat(fd, &held) == 0 && ::stat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
            held.st_ino == named.st_ino) {
            fd_ = fd;
            path_ = path;
            std::snprintf(gLockPath, sizeof gLockPath, "%s", path.c_str());
            gLockFd = fd;
            return true;
        }
        ::close(fd);
    }
}

OutputLock::~OutputLock() {
    if (fd_ < 0) return;
    if (gLockFd == fd_) gLockFd = -1;
    removeIfLast(fd_, path_.c_str());
}

void releaseOutputLock() {
    int fd = gLockFd;
    gLockFd = -1;
    if (fd >= 0) removeIfLast(fd, gLockPath);
}

}  // namespace sparkhost
