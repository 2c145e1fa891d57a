// Modules through the dynamic loader, the running program's own path and
// handle, and fresh UUID texts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <set>
#include <string>

#include "platform/module.h"
#include "platform/uuid.h"

using namespace ZEM::platform;

// Found through the program's own handle: the test executable exports its
// symbols, as a host that offers wrapper makers does.
extern "C" __attribute__((visibility("default"))) int zem_platform_test_marker() { return 42; }

TEST(Module, LoadsByPathAndSoname) {
    for (const char* missing : {"", "/no/such/dir/libnothing.so", "libno_such_library_anywhere.so"})
        EXPECT_EQ(LoadModule(missing), nullptr) << missing;
    EXPECT_EQ(LoadModule(nullptr), nullptr);
    EXPECT_EQ(FindSymbol(nullptr, "strlen"), nullptr);
    EXPECT_NE(FindSymbol(LoadModule("libc.so.6"), "strlen"), nullptr);

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

TEST(Uuid, VersionFourInLowerCase) {
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        std::string text = "stale";
        ASSERT_TRUE(NewUuidText(text));
        EXPECT_TRUE(std::regex_match(text, form)) << text;
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 100u);
}
