// Files by UTF-8 names: a name outside ASCII, with a character beyond 16 bits
// (a surrogate pair in a Windows file name), and backslashes in paths reach
// the file system whole, through the platform layer and through the reader.
#include "platform/files.h"

#include <gtest/gtest.h>

#include <string>

#include "config/reader_test_support.h"
#include "foundation/string_convert.h"
#include "platform/file.h"
#include "support/temp_dir.h"

namespace zem_test {
namespace {

const std::string kFolder = "gr\xC3\xBC\xC3\x9F" "e-\xF0\x9F\x98\x80";

std::string Document(const std::string& include, const char* bean) {
    return "<zem>" + include + "<library path='m'><beans><bean name='" + bean + "' class='C'/></beans></library></zem>";
}

TEST(Files, NamesOutsideAsciiAndBackslashes) {
    zem_support::TempDir folder;
    const std::string main = folder.Write(kFolder + "/main.xml", Document("<include path='teil\\\xC3\xB6.xml'/>", "outer"));
    folder.Write(kFolder + "/teil/\xC3\xB6.xml", Document("", "inner"));

    ZEM::platform::CInputFile file;
    EXPECT_EQ(file.Open(main.c_str()), ZEM::platform::CInputFile::Opened);
    EXPECT_EQ(file.Open(folder.Path(kFolder + "/missing.xml").c_str()), ZEM::platform::CInputFile::NotFound);
    EXPECT_EQ(file.Open(folder.Path(kFolder).c_str()), ZEM::platform::CInputFile::NotRegular);
    EXPECT_EQ(ZEM::platform::CanonicalPath(folder.Path(kFolder + "/teil/../main.xml")),
              ZEM::platform::CanonicalPath(main));

    // Read by its path in the system's own form: with backslashes on Windows.
    const std::u8string native = zem_support::Utf8Path(main).make_preferred().u8string();
    const CConfiguration read = ReadFile(ZEM::Widen(std::string(native.begin(), native.end())));
    ASSERT_NE(FindLibrary(read, "m"), nullptr);
    EXPECT_EQ(BeanNames(*FindLibrary(read, "m")), (Names{"inner", "outer"}));
}

}  // namespace
}  // namespace zem_test
