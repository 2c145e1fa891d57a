// What one load may cost: each limit loads a document that reaches it exactly
// and refuses one that passes it, in a message that names the file. Also the
// files that are no regular files, and the limits a host gives a container.
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "reader_test_support.h"
#include "zem/container.h"

namespace {

using namespace zem_test;

std::string Library(const std::string& beans) {
    return "<library path='m.so'><beans>" + beans + "</beans></library>";
}
std::string Include(const std::string& path) { return "<include path='" + path + "'/>"; }

class ReadingLimits : public ::testing::Test {
protected:
    std::wstring Path(const std::string& name) const { return ZEM::Widen(folder_.Path(name)); }
    // The message of reading `name` within `limits`; empty if it loaded.
    std::wstring Read(const std::string& name, const ZEM::SReadingLimits& limits) const {
        ZEM::CReading reading(limits);
        return MessageOf([&] { ZEM::ReadConfigurationFile(nullptr, Path(name).c_str(), reading); });
    }

    TempDir folder_;
};

TEST_F(ReadingLimits, EachLimitHoldsAtItsEdge) {
    // one.xml includes two.xml twice; each file is 100 bytes or more.
    folder_.Write("two.xml", "<zem>" + std::string(100, ' ') + "</zem>");
    folder_.Write("one.xml", "<zem>" + Include("two.xml") + Include("two.xml") + "</zem>");
    const std::uint64_t one = std::filesystem::file_size(folder_.Path("one.xml"));
    const std::uint64_t two = std::filesystem::file_size(folder_.Path("two.xml"));
    // Substitution: 3 replacements (32 steps each) giving 4 characters, for
    // each of two beans.
    folder_.Write("subst.xml", "<zem>" + Library("<foreach substitute='v' set='a|b'><bean name='%v%%v%%v%x' class='C'/>"
                                                 "</foreach>") + "</zem>");
    // Loops: 2 rounds of the outer loop, each 3 of the inner: 8 rounds.
    folder_.Write("loops.xml", "<zem>" + Library("<for substitute='i' first='1' last='2'><for substitute='j' "
                                                 "first='1' last='3'><bean name='b%i%%j%' class='C'/></for></for>") +
                                   "</zem>");
    folder_.Write("inner.xml", "<zem>" + Library("<bean name='top' class='C'><properties><property name='p'><bean "
                                                 "class='C'><properties><property name='p'><bean class='C'/>"
                                                 "</property></properties></bean></property></properties></bean>") +
                                   "</zem>");
    const std::wstring at = L" at file '" + Path("one.xml") + L"'";
    const std::wstring atTwo = L" at file '" + Path("two.xml") + L"'";

    using Limits = ZEM::SReadingLimits;
    const struct {
        const char* file;
        std::uint64_t Limits::*limit64;
        std::uint32_t Limits::*limit32;
        std::uint64_t edge;  // the least that loads
        std::wstring refusal;
    } cases[] = {
        {"one.xml", nullptr, &Limits::files, 3, L"More than 2 files read" + atTwo},
        {"one.xml", &Limits::bytes, nullptr, one + 2 * two, L"More than " + std::to_wstring(one + 2 * two - 1) +
                                                                L" bytes read" + atTwo},
        {"one.xml", &Limits::fileBytes, nullptr, two,
         L"File '" + Path("two.xml") + L"' has " + std::to_wstring(two) + L" bytes, more than " +
             std::to_wstring(two - 1) + L" allowed"},
        {"one.xml", nullptr, &Limits::includeDepth, 2, L"Includes nested too deeply" + atTwo},
        {"subst.xml", &Limits::substitutionSteps, nullptr, 2 * (3 * 32 + 4),
         L"Substitution of '%v%%v%%v%x' passes the limit of 199 steps in file '" + Path("subst.xml") + L"'"},
        {"loops.xml", &Limits::loopRounds, nullptr, 8,
         L"Loops in file '" + Path("loops.xml") + L"' repeat more than 7 times at loop over 'i'"},
        {"loops.xml", nullptr, &Limits::loopNesting, 2,
         L"Loops nested too deeply at loop over 'j' in file '" + Path("loops.xml") + L"'"},
        {"inner.xml", nullptr, &Limits::innerBeanNesting, 2, L"Inner beans nested too deeply in bean 'top'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file + std::string(" ") + std::to_string(c.edge));
        Limits limits;
        auto set = [&](std::uint64_t value) {
            if (c.limit64 != nullptr) limits.*c.limit64 = value;
            else limits.*c.limit32 = static_cast<std::uint32_t>(value);
        };
        set(c.edge);
        EXPECT_EQ(Read(c.file, limits), L"");
        set(c.edge - 1);
        EXPECT_EQ(Read(c.file, limits), c.refusal);
    }
    // The loop's text has a budget of its own: each round reads its body
    // again, at least 64 bytes an element.
    Limits small;
    small.loopBytes = 500;
    EXPECT_EQ(Read("loops.xml", small),
              L"Loops in file '" + Path("loops.xml") + L"' repeat more than 500 bytes at loop over 'i'");
}

TEST_F(ReadingLimits, DocumentsThatWouldRunForHoursAreRefusedByABudget) {
    // Thirty files, each including the next twice: 2^30 readings.
    for (int i = 0; i < 30; ++i) {
        const std::string next = "f" + std::to_string(i + 1) + ".xml";
        folder_.Write("f" + std::to_string(i) + ".xml",
                      i < 29 ? "<zem>" + Include(next) + Include(next) + "</zem>" : "<zem/>");
    }
    // Thirteen loops whose values double the patterns, around many rounds
    // of one bean: each budget of the loops holds.
    std::string body = "<bean class='%a0%' name='%a0%-%i%' init-method='%a0%' exit-method='%a0%' "
                       "factory-method='%a0%' factory-bean='%a0%'/>";
    body = "<for substitute='i' first='1' last='571122'>" + body + "</for>";
    for (int i = 12; i >= 0; --i) {
        const std::string next = i == 12 ? "x" : "%a" + std::to_string(i + 1) + "%";
        body = "<foreach substitute='a" + std::to_string(i) + "' set='" + next + next + "'>" + body + "</foreach>";
    }
    folder_.Write("doubling.xml", "<zem>" + Library(body) + "</zem>");

    const std::pair<const char*, std::wstring> cases[] = {
        {"f0.xml", L"More than 1000 files read at file '"},
        {"doubling.xml", L"Substitution of '%a0%' passes the limit of 100000000 steps in file '"},
    };
    for (const auto& [file, start] : cases) {
        SCOPED_TRACE(file);
        const std::wstring message = Read(file, ZEM::SReadingLimits());
        EXPECT_EQ(message.substr(0, start.size()), start);
    }
}

TEST_F(ReadingLimits, OnlyRegularFilesAreRead) {
    std::filesystem::create_directory(zem_support::Utf8Path(folder_.Path("folder.xml")));
    std::vector<std::pair<std::wstring, std::wstring>> cases = {{Path("folder.xml"), Path("folder.xml")}};
#if defined(_WIN32)
    // Windows has no FIFOs among its files; its null device is a device all the same.
    cases.emplace_back(L"NUL", L"NUL");
#else
    ASSERT_EQ(::mkfifo(folder_.Path("fifo.xml").c_str(), 0600), 0);  // nobody writes to it
    folder_.Write("includes-fifo.xml", "<zem>" + Include("fifo.xml") + "</zem>");
    cases.emplace_back(Path("includes-fifo.xml"), Path("fifo.xml"));
    cases.emplace_back(L"/dev/zero", L"/dev/zero");
#endif
    for (const auto& [path, refused] : cases)
        EXPECT_EQ(FileMessage(path), L"File '" + refused + L"' is not a regular file");
}

TEST_F(ReadingLimits, AHostSetsTheLimitsOfAContainer) {
    folder_.Write("loops.xml", "<zem>" + Library("<for substitute='i' first='1' last='5'><bean name='b%i%' "
                                                 "class='C'/></for>") + "</zem>");
    ZEM::CContainer container(nullptr);
    ZEM::SReadingLimits limits;
    limits.loopRounds = 4;
    container.SetReadingLimits(limits);
    EXPECT_EQ(MessageOf([&] { container.Reset(Path("loops.xml").c_str()); }),
              L"Loops in file '" + Path("loops.xml") + L"' repeat more than 4 times at loop over 'i'");
    limits.loopRounds = 5;
    container.SetReadingLimits(limits);
    EXPECT_EQ(MessageOf([&] { container.Reset(Path("loops.xml").c_str()); }), L"");
}

TEST_F(ReadingLimits, ALibraryPathMayNameTheFolderOfItsDocument) {
    folder_.Write("conf/main.xml", "<zem><library path='%zem:dir%/lib.so'/><library path='%zem:dir%'/></zem>");
    const CConfiguration read = ReadFile(Path("conf/main.xml"));
    const std::string folder = std::filesystem::path(folder_.Path("conf")).lexically_normal().string();
    const ZEM::SLibrary* beside = FindLibrary(read, folder + "/lib.so");
    ASSERT_NE(beside, nullptr);
    EXPECT_EQ(beside->written, "%zem:dir%/lib.so");  // what tools show
    EXPECT_NE(FindLibrary(read, folder), nullptr);
    // A text stands in the current directory.
    const CConfiguration text = ReadText("<zem><library path='%zem:dir%/lib.so'/></zem>");
    EXPECT_NE(FindLibrary(text, std::filesystem::current_path().string() + "/lib.so"), nullptr);
}

}  // namespace
