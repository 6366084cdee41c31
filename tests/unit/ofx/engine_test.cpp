#include <gtest/gtest.h>
TEST(OfxEngine, Placeholder) {}
