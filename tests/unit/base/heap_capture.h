// Captures the base message log for the heap tests and resets the heap around each test.
#ifndef TESTS_UNIT_BASE_HEAP_CAPTURE_H
#define TESTS_UNIT_BASE_HEAP_CAPTURE_H

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "base/q4_heap.h"
#include "base/q4_log.h"

inline std::vector<std::pair<int, std::string>>& captured_log() {
    static std::vector<std::pair<int, std::string>> lines;
    return lines;
}

class HeapTest : public ::testing::Test {
protected:
    void SetUp() override {
        reset();
        set_q4_log_sink([](int level, const char* text) { captured_log().emplace_back(level, text); });
        captured_log().clear();
    }
    void TearDown() override {
        reset();
        set_q4_log_sink(nullptr);
    }
    static void reset() {
        set_q4_heap_memory_enable(false);
        set_q4_heap_memory_debug(false);
        set_q4_heap_memory_trace(false);
        set_q4_heap_normal_memory_overrides(nullptr, nullptr, nullptr, nullptr);
        set_q4_heap_image_memory_overrides(nullptr, nullptr, nullptr, nullptr);
        q4_heap_normal_memory_cleanup();
        q4_heap_image_memory_cleanup();
    }
    static void debug_on() {
        set_q4_heap_memory_enable(true);
        set_q4_heap_memory_debug(true);
    }
    static std::string logged() {
        std::string all;
        for (auto& l : captured_log()) all += l.second;
        return all;
    }
    static std::string fmt(const char* format, ...) __attribute__((format(printf, 1, 2))) {
        char buf[512];
        va_list ap;
        va_start(ap, format);
        vsnprintf(buf, sizeof buf, format, ap);
        va_end(ap);
        return buf;
    }
};

#endif
