// Reading whole documents: text and files, the include paths and their order,
// the failures of the document level, and files in other encodings giving the
// same records as their UTF-8 twins. Files are real, in a temporary folder.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
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

std::string ReadBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Everything a reader puts into the records, except the store's path.
std::string Dump(const CConfiguration& configuration) {
    std::ostringstream out;
    for (const auto& library : configuration.Store().libraries) {
        out << "library " << library->path << '\n';
        for (const auto& bean : library->beans) {
            out << " bean " << bean.name << " class=" << bean.className << " fm=" << bean.factoryMethod
                << " init=" << bean.initMethod << " exit=" << bean.exitMethod << " fb=" << bean.factoryBean
                << " flags=" << bean.singleton << bean.lazy << bean.autoname << bean.exported << '\n';
            for (const auto& argument : bean.arguments)
                out << "  arg " << argument.type << '=' << ZEM::Narrow(argument.value) << '\n';
            for (const auto& property : bean.properties) {
                out << "  property " << property.name << '\n';
                for (const auto& argument : property.arguments)
                    out << "   arg " << argument.type << '=' << ZEM::Narrow(argument.value) << '\n';
            }
            for (const auto& name : bean.dependsOn) out << "  depends " << name << '\n';
            for (const auto& id : bean.interfaces) out << "  interface " << id << '\n';
        }
    }
    for (const auto& name : configuration.Store().eagerBeans) out << "eager " << name << '\n';
    return out.str();
}

std::string Utf16Le(const std::string& utf8, bool withMark) {
    std::string bytes = withMark ? std::string("\xFF\xFE", 2) : std::string();
    auto put = [&](unsigned unit) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    };
    for (wchar_t c : ZEM::Widen(utf8)) {
        auto code = static_cast<unsigned>(c);
        if (code >= 0x10000) {
            code -= 0x10000;
            put(0xD800 + (code >> 10));
            put(0xDC00 + (code & 0x3FF));
        } else {
            put(code);
        }
    }
    return bytes;
}

TEST(DocumentReader, EmptyTextIsAnEmptyConfigurationAndTextIgnoresIncludes) {
    for (const char* text : {static_cast<const char*>(nullptr), ""}) {
        CConfiguration configuration = ZEM::ReadConfigurationText(nullptr, text);
        EXPECT_TRUE(configuration.Store().libraries.empty());
        EXPECT_TRUE(configuration.Store().eagerBeans.empty());
    }
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

    // Messages show the path as joined, backslashes and all.
    std::filesystem::remove(folder.Root() / "conf/sub/b.xml");
    EXPECT_EQ(FileMessage(path), L"File '" + folder.Prefix() + L"conf\\sub\\b.xml' not found");
}

TEST(DocumentReader, BaseDirectoryKeepsItsOwnSeparators) {
    TempFolder folder;
    folder.Write("conf/main.xml", Document(Include("a.xml"), Bean("main")));
    folder.Write("conf/a.xml", Document("", Bean("a")));
    EXPECT_EQ(MainBeans(ReadFile(folder.Prefix() + L"conf/main.xml")), (Names{"a", "main"}));

    // Only the include's text is changed.
    folder.Write("conf/broken.xml", Document(Include("sub/missing.xml"), ""));
    EXPECT_EQ(FileMessage(folder.Prefix() + L"conf/broken.xml"),
              L"File '" + folder.Prefix() + L"conf/sub\\missing.xml' not found");
}

TEST(DocumentReader, LastBackslashBeatsALaterSlash) {
    TempFolder folder;
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

TEST(DocumentReader, AbsoluteIncludeIsStillJoinedToTheBaseDirectory) {
    TempFolder folder;
    const auto target = folder.Write("conf/a.xml", Document("", Bean("a")));
    folder.Write("conf/main.xml", Document(Include(target.string()), ""));
    std::wstring joined = ZEM::Widen(target.string());
    for (wchar_t& c : joined)
        if (c == L'/') c = L'\\';
    EXPECT_EQ(FileMessage(folder.Prefix() + L"conf/main.xml"),
              L"File '" + folder.Prefix() + L"conf/" + joined + L"' not found");
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
    folder.Write("plain.xml", "<zem><library path='m.so'/></zem>");

    folder.Write("twice.xml", Document(Include("a.xml") + Include("a.xml"), ""));
    EXPECT_EQ(FileMessage(folder.Prefix() + L"twice.xml"), L"Overriding bean 'dup' is not allowed");

    folder.Write("plain-twice.xml", Document(Include("plain.xml") + Include("plain.xml"), ""));
    EXPECT_EQ(LibraryPaths(ReadFile(folder.Prefix() + L"plain-twice.xml")), Names{"m.so"});

    // A file may restate a bean of its includes, and a name twice of its own.
    folder.Write("restate.xml", Document(Include("a.xml"), Bean("dup") + Bean("dup")));
    EXPECT_EQ(MainBeans(ReadFile(folder.Prefix() + L"restate.xml")), (Names{"dup", "dup", "dup"}));
}

TEST(DocumentReader, IncludeCyclesAndDeepChainsAreRefused) {
    TempFolder folder;
    folder.Write("self.xml", Document(Include("self.xml"), ""));
    EXPECT_EQ(FileMessage(folder.Prefix() + L"self.xml"), L"Include cycle at file '" + folder.Prefix() + L"self.xml'");

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
    folder.Write("other-root.xml", "<config><library path='m.so'/></config>");
    folder.Write("malformed.xml", "<zem>\n<library path='m.so'>\n</zem>");
    folder.Write("no-path.xml", Document(Include("empty.xml") + "<include/>", ""));
    folder.Write("empty-path.xml", "<zem><include path=''/></zem>");
    folder.Write("includes-empty.xml", Document(Include("empty.xml"), ""));
    folder.Write("includes-bad-bean.xml", Document(Include("bad-bean.xml"), ""));
    folder.Write("bad-bean.xml", Document("", "<bean name='b'/>"));

    struct SCase {
        const char* file;
        std::wstring message;
    };
    const SCase cases[] = {
        {"missing.xml", L"File '" + prefix + L"missing.xml' not found"},
        {"empty.xml", L"Error while parsing file '" + prefix + L"empty.xml': Error when parssing 'zem'."},
        {"other-root.xml", L"Error while parsing file '" + prefix + L"other-root.xml': Error when parssing 'zem'."},
        // Includes are read in order, so the empty file fails before the bad include is seen.
        {"no-path.xml", L"Error while parsing file '" + prefix + L"empty.xml': Error when parssing 'zem'."},
        {"empty-path.xml", L"Missing argument 'path' in include tag"},
        {"includes-empty.xml", L"Error while parsing file '" + prefix + L"empty.xml': Error when parssing 'zem'."},
        {"includes-bad-bean.xml", L"Missing class name when parsing type 'b'"},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.file);
        EXPECT_EQ(FileMessage(prefix + ZEM::Widen(c.file)), c.message);
    }

    const std::wstring message = FileMessage(prefix + L"malformed.xml");
    const std::wstring start = L"Error while parsing file '" + prefix + L"malformed.xml': Error when parssing 'zem' at line ";
    EXPECT_EQ(message.compare(0, start.size(), start), 0) << message;

    folder.Write("no-path-only.xml", "<zem><include/></zem>");
    EXPECT_EQ(FileMessage(prefix + L"no-path-only.xml"), L"Missing argument 'path' in include tag");
}

// The example of the format's description, as two files: each record checked.
TEST(DocumentReader, RichExampleGivesTheExpectedRecords) {
    const std::wstring path = ZEM::Widen(ZEM_TEST_DATA_DIR "/config/rich/main.xml");
    CConfiguration configuration = ReadFile(path);
    const auto& store = configuration.Store();
    EXPECT_EQ(store.path, path);
    EXPECT_EQ(LibraryPaths(configuration), (Names{"log.so", "net.so", "gfx.so"}));
    EXPECT_EQ(store.eagerBeans, (Names{"logger", "pool"}));

    const auto* logger = FindBean(configuration, "logger");
    ASSERT_NE(logger, nullptr);
    EXPECT_TRUE(logger->singleton);

    const auto& net = *FindLibrary(configuration, "net.so");
    ASSERT_EQ(net.beans.size(), 2u);  // the inner Codec, then pool
    const auto& codec = net.beans[0];
    const auto& pool = net.beans[1];
    EXPECT_EQ(codec.name.substr(0, 13), "unnamed bean ");
    EXPECT_EQ(codec.name.substr(49), " Codec");
    EXPECT_EQ(codec.className, "Codec");

    EXPECT_EQ(pool.name, "pool");
    EXPECT_EQ(pool.className, "net::Pool");
    EXPECT_EQ(pool.factoryMethod, "Pool");
    EXPECT_TRUE(pool.singleton && pool.autoname && pool.exported);
    EXPECT_FALSE(pool.lazy);
    EXPECT_EQ(pool.initMethod, "Start");
    EXPECT_EQ(pool.exitMethod, "Stop");
    ASSERT_EQ(pool.arguments.size(), 2u);
    EXPECT_EQ(pool.arguments[0].type, "int");
    EXPECT_EQ(pool.arguments[0].value, L"8");
    EXPECT_EQ(pool.arguments[1].type, "bean");
    EXPECT_EQ(pool.arguments[1].value, L"logger");
    EXPECT_EQ(pool.dependsOn, Names{"logger"});

    Names properties;
    for (const auto& property : pool.properties) properties.push_back(property.name);
    EXPECT_EQ(properties, (Names{"Timeout", "Endpoint", "Slot1", "Slot2", "Slot3"}));
    EXPECT_EQ(pool.properties[0].arguments.at(0).type, "double");
    EXPECT_EQ(pool.properties[0].arguments.at(0).value, L"1.5");
    ASSERT_EQ(pool.properties[1].arguments.size(), 2u);
    EXPECT_EQ(pool.properties[1].arguments[0].type, "const char*");
    EXPECT_EQ(pool.properties[1].arguments[0].value, L"main");
    EXPECT_EQ(pool.properties[1].arguments[1].type, "bean");
    EXPECT_EQ(pool.properties[1].arguments[1].value, ZEM::Widen(codec.name));
    for (std::size_t i = 2; i < 5; ++i) {
        ASSERT_EQ(pool.properties[i].arguments.size(), 1u);
        EXPECT_EQ(pool.properties[i].arguments[0].type, "nullptr");
        EXPECT_TRUE(pool.properties[i].arguments[0].value.empty());
    }

    const auto& gfx = *FindLibrary(configuration, "gfx.so");
    EXPECT_EQ(BeanNames(gfx), (Names{"pen-red", "pen-green"}));
    for (const auto& pen : gfx.beans) {
        EXPECT_EQ(pen.className, "Pen");
        EXPECT_FALSE(pen.exported);
    }
}

TEST(DocumentReader, OtherEncodingsGiveTheSameRecordsAsUtf8) {
    const std::string utf8 = ReadBytes(ZEM_TEST_DATA_DIR "/config/encoding.xml");
    ASSERT_FALSE(utf8.empty());
    TempFolder folder;
    folder.Write("utf8.xml", utf8);
    const std::string expected = Dump(ReadFile(folder.Prefix() + L"utf8.xml"));
    ASSERT_NE(FindBean(ReadFile(folder.Prefix() + L"utf8.xml"), "café"), nullptr);
    EXPECT_EQ(Dump(ReadText(utf8)), expected);

    const std::pair<const char*, std::string> twins[] = {
        {"utf8-mark.xml", "\xEF\xBB\xBF" + utf8},
        {"utf16-mark.xml", Utf16Le(utf8, true)},
        {"utf16.xml", Utf16Le(utf8, false)},
    };
    for (const auto& [name, bytes] : twins) {
        SCOPED_TRACE(name);
        folder.Write(name, bytes);
        EXPECT_EQ(Dump(ReadFile(folder.Prefix() + ZEM::Widen(name))), expected);
    }
}

}  // namespace
