// Reading whole documents: text and files, the include paths and their order,
// the failures of the document level. Files are real, in a temporary folder.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "reader_test_support.h"

namespace {

using zem_test::BeanNames;
using zem_test::FindBean;
using zem_test::FindLibrary;
using zem_test::LibraryPaths;
using zem_test::MessageOf;
using zem_test::ReadText;
using zem_test::TempFolder;
using Names = std::vector<std::string>;
using ZEM::CConfiguration;

CConfiguration ReadFile(const std::wstring& path) { return ZEM::ReadConfigurationFile(nullptr, path.c_str()); }

std::wstring FileMessage(const std::wstring& path) {
    return MessageOf([&] { ReadFile(path); });
}

// A document of one library "m.so" holding `beans`, after `includes`.
std::string Document(const std::string& includes, const std::string& beans) {
    return "<zem>" + includes + "<library path='m.so'><beans>" + beans + "</beans></library></zem>";
}

std::string Include(const std::string& path) { return "<include path='" + path + "'/>"; }
std::string Bean(const std::string& name) { return "<bean name='" + name + "' class='C'/>"; }

Names MainBeans(const CConfiguration& configuration) {
    const auto* library = FindLibrary(configuration, "m.so");
    return library != nullptr ? BeanNames(*library) : Names{};
}

TEST(DocumentReader, TextIgnoresIncludes) {
    CConfiguration configuration = ReadText(
        Document(Include("/nonexistent/file.xml") + "<include/><include path=''/>", Bean("own")));
    EXPECT_EQ(MainBeans(configuration), Names{"own"});
    EXPECT_TRUE(configuration.Store().path.empty());
}

TEST(DocumentReader, IncludesAreRelativeLinkByLinkWithBackslashes) {
    TempFolder folder;
    folder.Write("conf/main.xml", Document(Include("sub/a.xml"), Bean("main")));
    folder.Write("conf/sub/a.xml", Document(Include("b.xml"), Bean("a")));
    folder.Write("conf/sub/b.xml", Document("", Bean("b")));
    const std::wstring path = folder.Prefix() + L"conf\\main.xml";
    CConfiguration configuration = ReadFile(path);
    EXPECT_EQ(MainBeans(configuration), (Names{"b", "a", "main"}));
    EXPECT_EQ(configuration.Store().path, path);
    // Messages show the path as joined: only the include's text is changed.
    std::filesystem::remove(folder.Root() / "conf/sub/b.xml");
    EXPECT_EQ(FileMessage(path), L"File '" + folder.Prefix() + L"conf\\sub\\b.xml' not found");
    EXPECT_EQ(FileMessage(folder.Prefix() + L"conf/sub/a.xml"),
              L"File '" + folder.Prefix() + L"conf/sub/b.xml' not found");
    // The last backslash beats a later slash.
    folder.Write("a/b/c.xml", Document(Include("x.xml"), ""));
    folder.Write("a/x.xml", Document("", Bean("from-a")));
    folder.Write("a/b/x.xml", Document("", Bean("from-a-b")));
    EXPECT_EQ(MainBeans(ReadFile(folder.Prefix() + L"a\\b/c.xml")), Names{"from-a"});
}

TEST(DocumentReader, PathWithoutDirectoryIsRelativeToTheWorkingDirectory) {
    TempFolder folder;
    folder.Write("main.xml", Document(Include("a.xml"), Bean("main")));
    folder.Write("a.xml", Document("", Bean("a")));
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.Root());
    Names names;
    std::wstring message = MessageOf([&] { names = MainBeans(ReadFile(L"main.xml")); });
    std::filesystem::current_path(previous);
    EXPECT_EQ(message, L"");
    EXPECT_EQ(names, (Names{"a", "main"}));
}

TEST(DocumentReader, IncludesComeFirstWhereverTheyStand) {
    TempFolder folder;
    folder.Write("main.xml",
                 "<zem><library path='own.so'><beans><bean name='own' class='C' lazy='false'/></beans></library>"
                 "<include path='a.xml'/><library path='m.so'><beans>" + Bean("late") + "</beans></library>"
                 "<include path='b.xml'/></zem>");
    folder.Write("a.xml", Document("", "<bean name='inc-a' class='C' lazy='false'/>"));
    folder.Write("b.xml", "<zem><library path='b.so'><beans><bean name='inc-b' class='C' lazy='false'/>"
                          "</beans></library></zem>");
    CConfiguration configuration = ReadFile(folder.Prefix() + L"main.xml");
    EXPECT_EQ(LibraryPaths(configuration), (Names{"m.so", "b.so", "own.so"}));
    EXPECT_EQ(MainBeans(configuration), (Names{"inc-a", "late"}));
    EXPECT_EQ(configuration.Store().eagerBeans, (Names{"inc-a", "inc-b", "own"}));
}

TEST(DocumentReader, NameClashesAreCaughtBetweenIncludesOnly) {
    TempFolder folder;
    folder.Write("a.xml", Document("", Bean("dup")));
    folder.Write("twice.xml", Document(Include("a.xml") + Include("a.xml"), ""));
    EXPECT_EQ(FileMessage(folder.Prefix() + L"twice.xml"), L"Overriding bean 'dup' is not allowed");

    // A file may restate a bean of its includes, and a name twice of its own.
    folder.Write("restate.xml", Document(Include("a.xml"), Bean("dup") + Bean("dup")));
    EXPECT_EQ(MainBeans(ReadFile(folder.Prefix() + L"restate.xml")), (Names{"dup", "dup", "dup"}));
}

TEST(DocumentReader, IncludeCyclesAndDeepChainsAreRefused) {
    TempFolder folder;
    folder.Write("cycle/a.xml", Document(Include("sub/b.xml"), ""));
    folder.Write("cycle/sub/b.xml", Document(Include("../a.xml"), ""));
    EXPECT_EQ(FileMessage(folder.Prefix() + L"cycle/a.xml"),
              L"Include cycle at file '" + folder.Prefix() + L"cycle/sub\\..\\a.xml'");

    // d0 includes d1, and so on up to d69.
    constexpr int kFiles = 70;
    for (int i = 0; i < kFiles; ++i) {
        const std::string next = i + 1 < kFiles ? Include("d" + std::to_string(i + 1) + ".xml") : "";
        folder.Write("chain/d" + std::to_string(i) + ".xml", Document(next, Bean("d" + std::to_string(i))));
    }
    EXPECT_EQ(FileMessage(folder.Prefix() + L"chain/d0.xml"),
              L"Includes nested too deeply at file '" + folder.Prefix() + L"chain/d64.xml'");
    // Sixty-four files in one chain are still read.
    CConfiguration configuration = ReadFile(folder.Prefix() + L"chain/d6.xml");
    EXPECT_EQ(MainBeans(configuration).size(), 64u);
    EXPECT_EQ(MainBeans(configuration).front(), "d69");
}

TEST(DocumentReader, FileFailuresNameTheFileThatFailed) {
    TempFolder folder;
    const std::wstring prefix = folder.Prefix();
    folder.Write("empty.xml", "");
    folder.Write("malformed.xml", "<zem>\n<library path='m.so'>\n</zem>");
    folder.Write("no-path.xml", Document(Include("empty.xml") + "<include/>", ""));
    folder.Write("empty-path.xml", "<zem><include path=''/></zem>");
    folder.Write("includes-bad-bean.xml", Document(Include("bad-bean.xml"), ""));
    folder.Write("bad-bean.xml", Document("", "<bean name='b'/>"));
    // An absolute include is still joined to the base directory.
    const std::string absolute = (folder.Root() / "missing.xml").string();
    folder.Write("absolute.xml", Document(Include(absolute), ""));
    std::wstring joined = ZEM::Widen(absolute);
    std::replace(joined.begin(), joined.end(), L'/', L'\\');

    struct SCase {
        const char* file;
        std::wstring message;
    };
    const SCase cases[] = {
        {"missing.xml", L"File '" + prefix + L"missing.xml' not found"},
        {"empty.xml", L"Error while parsing file '" + prefix + L"empty.xml': Error when parssing 'zem'."},
        // Includes are read in order, so the empty file fails before the bad include is seen.
        {"no-path.xml", L"Error while parsing file '" + prefix + L"empty.xml': Error when parssing 'zem'."},
        {"empty-path.xml", L"Missing argument 'path' in include tag"},
        {"includes-bad-bean.xml", L"Missing class name when parsing type 'b'"},
        {"absolute.xml", L"File '" + prefix + joined + L"' not found"},
        {"malformed.xml",
         L"Error while parsing file '" + prefix + L"malformed.xml': Error when parssing 'zem' at line 3, column 7."},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.file);
        EXPECT_EQ(FileMessage(prefix + ZEM::Widen(c.file)), c.message);
    }
}

// A configuration using most of the format, spread over two files.
TEST(DocumentReader, RichExampleGivesTheExpectedRecords) {
    const std::wstring path = ZEM::Widen(ZEM_TEST_DATA_DIR "/config/rich/main.xml");
    CConfiguration configuration = ReadFile(path);
    EXPECT_EQ(configuration.Store().path, path);
    EXPECT_EQ(LibraryPaths(configuration), (Names{"log.so", "net.so", "gfx.so"}));
    EXPECT_EQ(configuration.Store().eagerBeans, (Names{"logger", "pool"}));
    const auto& net = FindLibrary(configuration, "net.so")->beans;
    ASSERT_EQ(net.size(), 2u);  // the inner Codec, then pool
    const auto& pool = net[1];
    EXPECT_TRUE(pool.singleton && pool.autoname && pool.exported && !pool.lazy);
    EXPECT_EQ(pool.dependsOn, Names{"logger"});
    ASSERT_EQ(pool.properties.size(), 5u);
    EXPECT_EQ(pool.properties[1].name, "Endpoint");
    EXPECT_EQ(pool.properties[1].arguments.at(1).value, ZEM::Widen(net[0].name));
    EXPECT_EQ(BeanNames(*FindLibrary(configuration, "gfx.so")), (Names{"pen-red", "pen-green"}));
}

// Other encodings of a file are the XML layer's concern; here the UTF-8 text
// must reach the records as the same characters.
TEST(DocumentReader, NonAsciiTextReachesTheRecords) {
    CConfiguration configuration = ReadFile(ZEM::Widen(ZEM_TEST_DATA_DIR "/config/encoding.xml"));
    EXPECT_EQ(LibraryPaths(configuration), (Names{"biblioth\u00e8que.so", "autre.so"}));
    const auto* bean = FindBean(configuration, "caf\u00e9");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->arguments.at(0).value, L"na\u00efve \u2013 \u6771\u4eac & \u03c0");
    EXPECT_EQ(bean->properties.at(1).name, "Gr\u00f6\u00dfe\u03b2");
}

}  // namespace
