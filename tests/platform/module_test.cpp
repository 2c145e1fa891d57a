// Modules through the dynamic loader, the running program's own path and
// handle, and fresh UUID texts.
#include <gtest/gtest.h>
#include <unistd.h>

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
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        std::string text = "stale";
        ASSERT_TRUE(NewUuidText(text));
        SCOPED_TRACE(text);
        ASSERT_EQ(text.size(), 36u);
        for (std::size_t j = 0; j < text.size(); ++j) {
            if (j == 8 || j == 13 || j == 18 || j == 23) EXPECT_EQ(text[j], '-');
            else EXPECT_NE(std::string("0123456789abcdef").find(text[j]), std::string::npos);
        }
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos);
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 100u);
}
