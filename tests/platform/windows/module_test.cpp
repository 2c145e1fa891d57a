// Modules through the Windows loader, the running program's own path, and
// the loader's reasons when a DLL won't load.
#include <gtest/gtest.h>

#include <string>

#include "platform/module.h"
#include "support/temp_dir.h"

using namespace ZEM::platform;

// Found through the program's own handle: the test program exports it, as a
// host that offers wrapper makers does.
extern "C" __declspec(dllexport) int zem_platform_test_marker() { return 42; }

TEST(Module, LoadsByPathAndTheProgramItself) {
    EXPECT_EQ(LoadModule(nullptr), nullptr);
    EXPECT_EQ(FindSymbol(nullptr, "strlen"), nullptr);

    const std::string path = ExecutablePath();
    EXPECT_TRUE(path.ends_with("\\zem_platform_tests.exe")) << path;
    void* self = LoadModule(path.c_str());
    auto* marker = reinterpret_cast<int (*)()>(FindSymbol(self, "zem_platform_test_marker"));
    ASSERT_NE(marker, nullptr);
    EXPECT_EQ(marker(), 42);
    EXPECT_EQ(FindSymbol(self, "no_such_symbol_in_this_program"), nullptr);
    // The program's path with forward slashes and in other case is still the program.
    std::string other = path;
    for (char& c : other) {
        if (c == '\\') c = '/';
        else if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    EXPECT_EQ(FindSymbol(LoadModule(other.c_str()), "zem_platform_test_marker"), reinterpret_cast<void*>(marker));
}

// The loader's own words, one line without its line end, and different for
// a file that is missing and one that is no DLL.
TEST(Module, ReportsWhyADllWontLoad) {
    zem_support::TempDir folder;
    const std::string missing = folder.Path("missing\\libnothing.dll");
    const std::string notADll = folder.Write("gr\xC3\xBC\xC3\x9F" "e-\xF0\x9F\x98\x80.dll", "MZ but not a program");
    std::string whyMissing, whyNotADll;
    EXPECT_EQ(LoadModule(missing.c_str(), &whyMissing), nullptr);
    EXPECT_EQ(LoadModule(notADll.c_str(), &whyNotADll), nullptr);
    for (const std::string& reason : {whyMissing, whyNotADll}) {
        SCOPED_TRACE(reason);
        EXPECT_FALSE(reason.empty());
        EXPECT_EQ(reason.find_first_of("\r\n"), std::string::npos);
    }
    EXPECT_NE(whyMissing, whyNotADll);
}
