// Levelled message log: formats a message and hands it to the installed sink or standard error.
#include "base/q4_log.h"

#include <stdarg.h>
#include <stdio.h>

#include <atomic>

static std::atomic<q4_log_sink> log_sink{nullptr};

void set_q4_log_sink(q4_log_sink sink) { log_sink.store(sink); }

void q4_log(int level, const char* format, ...) {
    char text[1024];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    q4_log_sink sink = log_sink.load();
    if (sink) {
        sink(level, text);
    } else {
        fputs(text, stderr);
        fflush(stderr);
    }
}
