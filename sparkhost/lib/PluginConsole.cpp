#include "sparkhost/lib/PluginConsole.h"

#include <ext/stdio_filebuf.h>

#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <set>
#include <thread>
#include <unistd.h>

namespace sparkhost {

namespace {

struct Console {
    int results = -1;  // the real standard output
    std::FILE* resultsFile = nullptr;
    std::unique_ptr<__gnu_cxx::stdio_filebuf<char>> resultsBuffer;
    std::streambuf* coutBefore = nullptr;
    std::thread reader;
    std::string name;
};

Console* gConsole = nullptr;

void writeAll(int fd, const std::string& text) {
    const char* at = text.data();
    size_t left = text.size();
    while (left > 0) {
        ssize_t n = ::write(fd, at, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        at += n;
        left -= size_t(n);
    }
}

void readLines(int fd, bool quiet, Console* console) {
    std::set<std::string> shown;
    std::string pending;
    char chunk[4096];
    auto show = [&](const std::string& line) {
        if (quiet) return;
        if (line.find_first_not_of(" \t\r") == std::string::npos) return;  // the banner's blank lines
        if (!shown.insert(line).second) return;
        writeAll(2, console->name + ": " + line + "\n");
    };
    for (;;) {
        ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        pending.append(chunk, size_t(n));
        for (size_t end; (end = pending.find('\n')) != std::string::npos; pending.erase(0, end + 1))
            show(pending.substr(0, end));
    }
    if (!pending.empty()) show(pending);
    ::close(fd);
}

}  // namespace

void startPluginConsole(const std::string& name, bool quiet) {
    if (gConsole) return;
    int pipeFds[2];
    std::fflush(stdout);
    int results = ::dup(1);
    if (results < 0 || ::pipe2(pipeFds, O_CLOEXEC) != 0) {
        if (results >= 0) ::close(results);
        return;  // the plug-in's output then simply stays on standard output
    }
    ::fcntl(results, F_SETFD, FD_CLOEXEC);
    gConsole = new Console;
    gConsole->name = name;
    gConsole->results = results;
    gConsole->resultsFile = ::fdopen(::dup(results), "w");
    gConsole->resultsBuffer.reset(new __gnu_cxx::stdio_filebuf<char>(results, std::ios::out));
    gConsole->coutBefore = std::cout.rdbuf(gConsole->resultsBuffer.get());
    ::dup2(pipeFds[1], 1);
    ::close(pipeFds[1]);
    // Each line goes through as soon as it is printed, in step with sparkhost's own messages.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    gConsole->reader = std::thread(readLines, pipeFds[0], quiet, gConsole);
}

void stopPluginConsole() {
    if (!gConsole) return;
    std::fflush(stdout);
    std::cout.flush();
    std::cout.rdbuf(gConsole->coutBefore);
    // Standard output back on the real one closes the pipe's last writing end: the reader ends.
    ::dup2(gConsole->results, 1);
    gConsole->reader.join();
    if (gConsole->resultsFile) std::fflush(gConsole->resultsFile);
    // The console stays allocated: the stream buffer may still be referenced during exit.
    std::cout.rdbuf(gConsole->coutBefore);
}

std::FILE* resultsOutput() { return gConsole && gConsole->resultsFile ? gConsole->resultsFile : stdout; }

}  // namespace sparkhost
