#include "sparkhost/lib/SafeFile.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace sparkhost {

namespace {

// The temporary files of the writes under way (several writer threads write at once), for an
// interrupting signal's handler. A slot is claimed, filled, then marked ready; the handler only
// reads ready slots.
constexpr int kPartialSlots = 32;
char gPartial[kPartialSlots][4096];
std::atomic<int> gPartialState[kPartialSlots];  // 0 free, 1 being filled, 2 ready

struct PartialMark {
    int slot = -1;
    explicit PartialMark(const std::string& path) {
        for (int i = 0; i < kPartialSlots && slot < 0; ++i) {
            int free = 0;
            if (gPartialState[i].compare_exchange_strong(free, 1)) slot = i;
        }
        if (slot < 0) return;  // more writers than slots: this one is not cleaned up on a signal
        std::snprintf(gPartial[slot], sizeof gPartial[slot], "%s", path.c_str());
        gPartialState[slot].store(2);
    }
    ~PartialMark() {
        if (slot >= 0) gPartialState[slot].store(0);
    }
};

// Every write and the close checked: a full disk, a file size limit or a failing network share
// is an error here, never a short file.
bool writeAll(const std::string& path, const unsigned char* at, size_t left, std::string* why) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        *why = std::strerror(errno);
        return false;
    }
    while (left > 0) {
        ssize_t n = ::write(fd, at, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            *why = n < 0 ? std::strerror(errno) : "nothing more could be written";
            ::close(fd);
            return false;
        }
        at += n;
        left -= size_t(n);
    }
    // Network file systems may report a failed write only when the file is closed.
    if (::close(fd) != 0) {
        *why = std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace

void removePartialImages() {
    for (int i = 0; i < kPartialSlots; ++i)
        if (gPartialState[i].load() == 2) ::unlink(gPartial[i]);
}

bool replaceFile(const std::string& path, const void* data, size_t size, std::string* why,
                 const std::function<bool()>& beforeRename) {
    size_t slash = path.rfind('/');
    std::string dir = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    // The extension stays last, so the file still shows what it is if it is ever left behind.
    std::string temporary = dir + ".sparkhost-" + std::to_string(::getpid()) + "-" + base;
    PartialMark partial(temporary);
    if (!writeAll(temporary, static_cast<const unsigned char*>(data), size, why)) {
        ::unlink(temporary.c_str());
        return false;
    }
    if (beforeRename && !beforeRename()) {
        ::unlink(temporary.c_str());
        *why = "abandoned after an earlier frame failed";
        return false;
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        *why = std::strerror(errno);
        ::unlink(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace sparkhost
