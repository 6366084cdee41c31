// The C++ headers of GCC 11 and later make plug-in code refer to two symbols that hosts on glibc
// 2.28 with the C++ runtime of GCC 6 lack: glibc's flag __libc_single_threaded (glibc 2.32), which
// shared pointers read to skip atomic counting, and std::__throw_bad_array_new_length
// (GLIBCXX_3.4.29), which containers call when asked for more elements than memory can hold.
// Each plug-in defines both itself, hidden, so that its own references bind here.
#include <new>

// Zero says "more than one thread may run": reference counts stay atomic, always correct.
extern "C" {
__attribute__((visibility("hidden"))) char __libc_single_threaded = 0;
}

namespace std {
__attribute__((visibility("hidden"), noreturn)) void __throw_bad_array_new_length() {
    throw bad_array_new_length();
}
}  // namespace std
