// Modules through the dynamic loader, and the running program's own path.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "platform/module.h"

using namespace ZEM::platform;

// Found through the program's own handle: the test executable exports its
// symbols, as a host that offers wrapper makers does.
extern "C" __attribute__((visibility("default"))) int zem_platform_test_marker() { return 42; }

// (Paths that load nothing: tests/library/class_library_test.cpp.)
TEST(Module, LoadsByPathAndTheProgramItself) {
    EXPECT_EQ(LoadModule(nullptr), nullptr);
    EXPECT_EQ(FindSymbol(nullptr, "strlen"), nullptr);

    std::string path = ExecutablePath();
    EXPECT_EQ(::access(path.c_str(), X_OK), 0);
    EXPECT_NE(path.find("/zem_platform_tests"), std::string::npos);
    void* self = LoadModule(path.c_str());
    auto* marker = reinterpret_cast<int (*)()>(FindSymbol(self, "zem_platform_test_marker"));
    ASSERT_NE(marker, nullptr);
    EXPECT_EQ(marker(), 42);
    EXPECT_EQ(FindSymbol(self, "no_such_symbol_in_this_program"), nullptr);
    // The same file through a link still names the program, not a second copy.
    EXPECT_EQ(FindSymbol(LoadModule("/proc/self/exe"), "zem_platform_test_marker"), reinterpret_cast<void*>(marker));
}
