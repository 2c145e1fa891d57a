// Modules through the dynamic loader, the running program's own path and
// handle, and fresh UUID texts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <set>
#include <string>

#include "platform/module.h"
#include "platform/uuid.h"

using namespace ZEM::platform;

// Found through the program's own handle: the test executable exports its
// symbols, as a host that offers wrapper makers does.
extern "C" __attribute__((visibility("default"))) int zem_platform_test_marker() { return 42; }

TEST(Module, MissingPathsGiveNull) {
    EXPECT_EQ(LoadModule(nullptr), nullptr);
    EXPECT_EQ(LoadModule(""), nullptr);
    EXPECT_EQ(LoadModule("/no/such/dir/libnothing.so"), nullptr);
    EXPECT_EQ(LoadModule("libno_such_library_anywhere.so"), nullptr);
    EXPECT_EQ(FindSymbol(nullptr, "strlen"), nullptr);
}

TEST(Module, ExecutablePathNamesThisProgram) {
    std::string path = ExecutablePath();
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(path.front(), '/');
    EXPECT_EQ(::access(path.c_str(), X_OK), 0);
    EXPECT_NE(path.find("zem_platform_tests"), std::string::npos);
}

TEST(Module, OwnPathGivesTheRunningProgram) {
    void* self = LoadModule(ExecutablePath().c_str());
    ASSERT_NE(self, nullptr);
    auto* marker = reinterpret_cast<int (*)()>(FindSymbol(self, "zem_platform_test_marker"));
    ASSERT_NE(marker, nullptr);
    EXPECT_EQ(marker(), 42);
    EXPECT_EQ(FindSymbol(self, "no_such_symbol_in_this_program"), nullptr);
    EXPECT_EQ(FindSymbol(self, nullptr), nullptr);

    // The same file through a link still names the program, not a second copy.
    void* viaLink = LoadModule("/proc/self/exe");
    ASSERT_NE(viaLink, nullptr);
    EXPECT_EQ(FindSymbol(viaLink, "zem_platform_test_marker"), reinterpret_cast<void*>(marker));
}

TEST(Module, LoadsASharedLibraryBySoname) {
    void* libc = LoadModule("libc.so.6");
    ASSERT_NE(libc, nullptr);
    EXPECT_NE(FindSymbol(libc, "strlen"), nullptr);
}

TEST(Uuid, VersionFourInLowerCase) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        std::string text = "stale";
        ASSERT_TRUE(NewUuidText(text));
        SCOPED_TRACE(text);
        ASSERT_EQ(text.size(), 36u);
        for (std::size_t j = 0; j < text.size(); ++j) {
            if (j == 8 || j == 13 || j == 18 || j == 23)
                EXPECT_EQ(text[j], '-');
            else
                EXPECT_TRUE(std::isxdigit(static_cast<unsigned char>(text[j])) &&
                            !std::isupper(static_cast<unsigned char>(text[j])));
        }
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos);
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 100u);
}
