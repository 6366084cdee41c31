// Every test program works in a temporary folder of its own. Before main() runs, a new folder is
// made under the system's temporary folder and named in TEST_TMPDIR and TMPDIR, so that
// testing::TempDir(), the harness's folders and any program a test starts all write into it;
// when the program ends the folder and everything in it are removed. Each test case runs as a
// program of its own under ctest, so two test cases, or two whole runs at once, never share a file.
#include <cstdio>
#include <cstdlib>
#include <ftw.h>
#include <string>
#include <unistd.h>

namespace {

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    std::remove(path);
    return 0;
}

class TestTempDir {
public:
    TestTempDir() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/vesk-test-XXXXXX";
        if (!::mkdtemp(&pattern[0])) {
            std::perror(("cannot make a temporary folder " + pattern).c_str());
            std::exit(1);
        }
        dir_ = pattern;
        ::setenv("TEST_TMPDIR", dir_.c_str(), 1);
        ::setenv("TMPDIR", dir_.c_str(), 1);
    }
    // Only the process that made the folder removes it: a forked child that exits normally must
    // not take the folder from under its parent.
    ~TestTempDir() {
        if (::getpid() == owner_) ::nftw(dir_.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    }

private:
    std::string dir_;
    pid_t owner_ = ::getpid();
};

TestTempDir folder;

}  // namespace
