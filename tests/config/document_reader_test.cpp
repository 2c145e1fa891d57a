// Reading whole documents from text and from real files: include paths and
// order, and the failures of the document level.
#include <algorithm>
#include <filesystem>

#include "reader_test_support.h"

namespace {

using namespace zem_test;

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

class DocumentReader : public ::testing::Test {
protected:
    TempDir folder_;
    const std::wstring prefix_ = ZEM::Widen(folder_.Path(""));  // with a trailing '/'
};

TEST_F(DocumentReader, TextIgnoresIncludes) {
    CConfiguration configuration =
        ReadText(Document(Include("/nonexistent/file.xml") + "<include/><include path=''/>", Bean("own")));
    EXPECT_EQ(MainBeans(configuration), Names{"own"});
    EXPECT_TRUE(configuration.Store().path.empty());
}

TEST_F(DocumentReader, IncludesAreRelativeLinkByLinkWithBackslashes) {
    folder_.Write("conf/main.xml", Document(Include("sub/a.xml"), Bean("main")));
    folder_.Write("conf/sub/a.xml", Document(Include("b.xml"), Bean("a")));
    folder_.Write("conf/sub/b.xml", Document("", Bean("b")));
    const std::wstring path = prefix_ + L"conf\\main.xml";
    CConfiguration configuration = ReadFile(path);
    EXPECT_EQ(MainBeans(configuration), (Names{"b", "a", "main"}));
    EXPECT_EQ(configuration.Store().path, path);
    EXPECT_EQ(MainBeans(ReadFile(prefix_ + L"conf/main.xml")), (Names{"b", "a", "main"}));
    // Messages show the path as joined.
    std::filesystem::remove(folder_.Path("conf/sub/b.xml"));
    EXPECT_EQ(FileMessage(path), L"File '" + prefix_ + L"conf\\sub\\b.xml' not found");
    EXPECT_EQ(FileMessage(prefix_ + L"conf/sub/a.xml"), L"File '" + prefix_ + L"conf/sub/b.xml' not found");
    // The last backslash beats a later slash.
    folder_.Write("a/b/c.xml", Document(Include("x.xml"), ""));
    folder_.Write("a/x.xml", Document("", Bean("from-a")));
    folder_.Write("a/b/x.xml", Document("", Bean("from-a-b")));
    EXPECT_EQ(MainBeans(ReadFile(prefix_ + L"a\\b/c.xml")), Names{"from-a"});
}

TEST_F(DocumentReader, PathWithoutDirectoryIsRelativeToTheWorkingDirectory) {
    folder_.Write("main.xml", Document(Include("a.xml"), Bean("main")));
    folder_.Write("a.xml", Document("", Bean("a")));
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path(""));
    Names names;
    std::wstring message = MessageOf([&] { names = MainBeans(ReadFile(L"main.xml")); });
    std::filesystem::current_path(previous);
    EXPECT_EQ(message, L"");
    EXPECT_EQ(names, (Names{"a", "main"}));
}

TEST_F(DocumentReader, IncludesComeFirstWhereverTheyStand) {
    folder_.Write("main.xml", "<zem><library path='own.so'><beans><bean name='own' class='C' lazy='false'/></beans>"
                              "</library><include path='a.xml'/><library path='m.so'><beans>" + Bean("late") +
                                  "</beans></library><include path='b.xml'/></zem>");
    folder_.Write("a.xml", Document("", "<bean name='inc-a' class='C' lazy='false'/>"));
    folder_.Write("b.xml", "<zem><library path='b.so'><beans><bean name='inc-b' class='C' lazy='false'/>"
                           "</beans></library></zem>");
    CConfiguration configuration = ReadFile(prefix_ + L"main.xml");
    EXPECT_EQ(LibraryPaths(configuration), (Names{"m.so", "b.so", "own.so"}));
    EXPECT_EQ(MainBeans(configuration), (Names{"inc-a", "late"}));
    EXPECT_EQ(configuration.Store().eagerBeans, (Names{"inc-a", "inc-b", "own"}));
}

TEST_F(DocumentReader, NameClashesAreCaughtBetweenIncludesOnly) {
    folder_.Write("a.xml", Document("", Bean("dup")));
    folder_.Write("twice.xml", Document(Include("a.xml") + Include("a.xml"), ""));
    EXPECT_EQ(FileMessage(prefix_ + L"twice.xml"), L"Overriding bean 'dup' is not allowed");
    // A file may restate a bean of its includes, and a name twice of its own.
    folder_.Write("restate.xml", Document(Include("a.xml"), Bean("dup") + Bean("dup")));
    EXPECT_EQ(MainBeans(ReadFile(prefix_ + L"restate.xml")), (Names{"dup", "dup", "dup"}));
}

TEST_F(DocumentReader, IncludeCyclesAreRefused) {
    folder_.Write("cycle/a.xml", Document(Include("sub/b.xml"), ""));
    folder_.Write("cycle/sub/b.xml", Document(Include("../a.xml"), ""));
    EXPECT_EQ(FileMessage(prefix_ + L"cycle/a.xml"), L"Include cycle at file '" + prefix_ + L"cycle/sub\\..\\a.xml'");

    // One file read again against another base directory is no cycle: here
    // the first base is cut at the backslash, and then a link resolves its
    // includes beside itself, not beside its target.
    folder_.Write("again/b/c.xml", Document(Include("b/c.xml"), Bean("c")));
    folder_.Write("again/b/b/c.xml", Document("", Bean("deep")));
    EXPECT_EQ(MainBeans(ReadFile(prefix_ + L"again\\b/c.xml")), (Names{"deep", "c", "c"}));
    folder_.Write("linked/real/main.xml", Document(Include("next.xml"), Bean("main")));
    folder_.Write("linked/real/next.xml", Document("", Bean("real-next")));
    folder_.Write("linked/link/next.xml", Document(Include("../real/main.xml"), Bean("link-next")));
    // Windows makes symbolic links only with a privilege, and Wine makes none.
    std::error_code noLinks;
    std::filesystem::create_symlink("../real/main.xml", zem_support::Utf8Path(folder_.Path("linked/link/main.xml")),
                                    noLinks);
    if (!noLinks)
        EXPECT_EQ(MainBeans(ReadFile(prefix_ + L"linked/link/main.xml")),
                  (Names{"real-next", "main", "link-next", "main"}));
}

TEST_F(DocumentReader, FileFailuresNameTheFileThatFailed) {
    folder_.Write("empty.xml", "");
    folder_.Write("malformed.xml", "<zem>\n<library path='m.so'>\n</zem>");
    folder_.Write("no-path.xml", Document(Include("empty.xml") + "<include/>", ""));
    folder_.Write("empty-path.xml", "<zem><include path=''/></zem>");
    folder_.Write("includes-bad-bean.xml", Document(Include("bad-bean.xml"), ""));
    folder_.Write("bad-bean.xml", Document("", "<bean name='b'/>"));
    // An absolute include is still joined to the base directory.
    const std::string absolute = folder_.Path("missing.xml");
    folder_.Write("absolute.xml", Document(Include(absolute), ""));
    std::wstring joined = ZEM::Widen(absolute);
    std::replace(joined.begin(), joined.end(), L'/', L'\\');

    const std::wstring unparsable = L"Error while parsing file '" + prefix_;
    const std::pair<const char*, std::wstring> cases[] = {
        {"missing.xml", L"File '" + prefix_ + L"missing.xml' not found"},
        {"empty.xml", unparsable + L"empty.xml': Error when parssing 'zem'."},
        // Includes are read in order, so the empty file fails before the bad include is seen.
        {"no-path.xml", unparsable + L"empty.xml': Error when parssing 'zem'."},
        {"empty-path.xml", L"Missing argument 'path' in include tag"},
        {"includes-bad-bean.xml", L"Missing class name when parsing type 'b'"},
        {"absolute.xml", L"File '" + prefix_ + joined + L"' not found"},
        {"malformed.xml", unparsable + L"malformed.xml': Error when parssing 'zem' at line 3, column 7."},
    };
    for (const auto& [file, message] : cases) {
        SCOPED_TRACE(file);
        EXPECT_EQ(FileMessage(prefix_ + ZEM::Widen(file)), message);
    }
}

// A configuration using most of the format, spread over two files.
TEST(DocumentReaderData, RichExampleGivesTheExpectedRecords) {
    const std::wstring path = ZEM::Widen(ZEM_TEST_DATA_DIR "/config/rich/main.xml");
    CConfiguration configuration = ReadFile(path);
    EXPECT_EQ(configuration.Store().path, path);
    EXPECT_EQ(LibraryPaths(configuration), (Names{"log.so", "net.so", "gfx.so"}));
    EXPECT_EQ(configuration.Store().eagerBeans, (Names{"logger", "pool"}));
    const auto& net = FindLibrary(configuration, "net.so")->beans;
    ASSERT_EQ(net.size(), 2u);  // the inner Codec, then pool
    const auto& pool = net[1];
    EXPECT_EQ(pool.dependsOn, Names{"logger"});
    ASSERT_EQ(pool.properties.size(), 5u);
    EXPECT_EQ(pool.properties[1].name, "Endpoint");
    EXPECT_EQ(pool.properties[1].arguments.at(1).value, net[0].name);
    EXPECT_EQ(BeanNames(*FindLibrary(configuration, "gfx.so")), (Names{"pen-red", "pen-green"}));
}

// Other encodings of a file are the XML layer's concern; here the UTF-8 text
// must reach the records as the same characters.
TEST(DocumentReaderData, NonAsciiTextReachesTheRecords) {
    CConfiguration configuration = ReadFile(ZEM::Widen(ZEM_TEST_DATA_DIR "/config/encoding.xml"));
    EXPECT_EQ(LibraryPaths(configuration), (Names{"biblioth\u00e8que.so", "autre.so"}));
    const auto* bean = FindBean(configuration, "caf\u00e9");
    ASSERT_NE(bean, nullptr);
    EXPECT_EQ(bean->arguments.at(0).value, "na\u00efve \u2013 \u6771\u4eac & \u03c0");
    EXPECT_EQ(bean->properties.at(1).name, "Gr\u00f6\u00dfe\u03b2");
}

}  // namespace
