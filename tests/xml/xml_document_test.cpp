// Loading documents: the choice of the root element, and real files in a
// temporary folder (encodings, byte-order marks, empty, missing and
// oversized files).
#include <gtest/gtest.h>

#include "foundation/string_convert.h"
#include "support/temp_dir.h"
#include "xml/xml_dump.h"

namespace {

using zem_test::DumpXml;

TEST(XmlDocument, RootChoice) {
    const struct { const char* input; const char* rootName; std::uint32_t error; const char* tree; } cases[] = {
        {"<?xml version=\"1.0\"?><zem/>", "zem", 0, "zem"},
        {"<ZEM><a/></ZEM>", "zem", 0, "ZEM{a}"},
        {"<x><y/><zem k='1'/><zem k='2'/></x>", "zem", 0, "zem(k=1)"},
        {"<x><y><zem/></y></x>", "zem", 11, "<empty>"},  // only a child of the top element counts
        {"<!-- c --><zem/>", "zem", 0, "zem"},
        {"<a/><zem/>", "zem", 0, "zem"},
        {" \n ", "zem", 11, "<empty>"},
        {" \n ", nullptr, 2, "#top"},
        {"<beans/>", "", 0, "beans"},
        {"<a/><b/>", nullptr, 0, "#top{a,b}"},
        // Code 1 keeps the tree; the higher codes drop it.
        {"<x><zem><bean></x>", "zem", 1, "zem{bean}"},
        {"<zem>&bad;</zem>", "zem", 12, "<empty>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.input) + " / " + (c.rootName != nullptr ? c.rootName : "(null)"));
        ZEM::SXmlParseResult result{99, 99, 99};
        ZEM::XMLNode root = zem_test::ParseExact(c.input, c.rootName, &result);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(DumpXml(root), c.tree);
        if (c.error == ZEM::XmlRootNotFound || c.error == ZEM::XmlNoError) EXPECT_EQ(result.line, 0);
    }
    ZEM::SXmlParseResult result{0, 5, 5};
    EXPECT_TRUE(ZEM::ParseText(nullptr, "zem", &result).IsEmpty());
    EXPECT_EQ(result.error, ZEM::XmlNoInput);
    EXPECT_FALSE(ZEM::ParseText("<zem/>", "zem", nullptr).IsEmpty());
}

class XmlFile : public ::testing::Test {
protected:
    ZEM::XMLNode Load(const std::string& name, const std::string& bytes, const char* rootName = "zem") {
        result_ = ZEM::SXmlParseResult{99, 99, 99, {}, {}};
        return ZEM::ParseFile(folder_.Write(name, bytes).c_str(), rootName, &result_);
    }
    zem_support::TempDir folder_;
    ZEM::SXmlParseResult result_{};
};

std::string ToUtf16Le(const std::string& utf8) {
    std::string out;
    auto unit = [&out](unsigned u) { out += {static_cast<char>(u & 0xFF), static_cast<char>(u >> 8)}; };
    for (wchar_t w : ZEM::Widen(utf8)) {
        auto c = static_cast<unsigned>(w);
        if (c >= 0x10000) {
            unit(0xD800 + ((c - 0x10000) >> 10));
            unit(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            unit(c);
        }
    }
    return out;
}

const std::string kDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<zem>\r\n  <library path='libgr\xc3\xbc\xc3\x9f" "e.so'>\r\n"
    "    <beans><bean id=\"gr\xc3\xbc\xc3\x9f" "e\xe2\x82\xac\xf0\x9d\x84\x9e\" class='A'>x &amp; \xc3\xa9</bean>"
    "</beans>\r\n  </library>\r\n</zem>\r\n";

TEST_F(XmlFile, EncodingsGiveTheSameTree) {
    ZEM::XMLNode plain = Load("plain.xml", kDocument);
    ASSERT_EQ(result_.error, ZEM::XmlNoError);
    EXPECT_STREQ(plain.ChildAt("library", 0).ChildAt("beans", 0).ChildAt("bean", 0).AttributeValue("id"),
                 "gr\xc3\xbc\xc3\x9f" "e\xe2\x82\xac\xf0\x9d\x84\x9e");
    const std::pair<const char*, std::string> twins[] = {
        {"utf8-bom.xml", "\xef\xbb\xbf" + kDocument},
        {"utf16-bom.xml", "\xff\xfe" + ToUtf16Le(kDocument)},
        {"utf16-efff.xml", "\xef\xff" + ToUtf16Le(kDocument)},
        {"utf16-no-bom.xml", ToUtf16Le(kDocument)},
        // A zero byte ends UTF-8 text; what follows it is never read.
        {"zero-behind.xml", kDocument + std::string("\0<x>\0\0", 6)},
    };
    for (const auto& [name, bytes] : twins) {
        SCOPED_TRACE(name);
        EXPECT_EQ(DumpXml(Load(name, bytes)), DumpXml(plain));
        EXPECT_EQ(result_.error, ZEM::XmlNoError);
    }
}

TEST_F(XmlFile, ErrorsInFiles) {
    const struct { const char* name; std::string bytes; const char* rootName; std::uint32_t error; int line, column; }
        cases[] = {
            {"empty.xml", "", "zem", ZEM::XmlEmptyFile, 0, 0},
            {"blank2.xml", " \r\n\t\n", nullptr, ZEM::XmlNoTagFound, 3, 1},
            {"open.xml", "<zem>\n  <bean>\n  <bean/>", "zem", ZEM::XmlMissingEndTag, 3, 10},
            // Positions in a UTF-16 file count the characters of its UTF-8 form.
            {"entity16.xml", "\xff\xfe" + ToUtf16Le("<zem>\n \xc3\xa9 &x;</zem>"), "zem", ZEM::XmlUnknownEntity, 2, 9},
            {"bom-only.xml", "\xff\xfe", nullptr, ZEM::XmlNoTagFound, 1, 1},
        };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Load(c.name, c.bytes, c.rootName);
        EXPECT_EQ(std::vector<int>({static_cast<int>(result_.error), result_.line, result_.column}),
                  std::vector<int>({static_cast<int>(c.error), c.line, c.column}));
    }
    // A directory opens on Linux, but it is no file to read.
    const std::pair<std::string, std::uint32_t> unreadable[] = {{folder_.Path("missing.xml"), ZEM::XmlFileNotFound},
                                                                {folder_.Path(""), ZEM::XmlNotRegularFile}};
    for (const auto& [path, error] : unreadable) {
        EXPECT_TRUE(ZEM::ParseFile(path.c_str(), "zem", &result_).IsEmpty());
        EXPECT_EQ(result_.error, error);
        EXPECT_EQ(result_.line, 0);
    }
    // Sparse: no disk space is used, and nothing may be read from it.
    std::filesystem::resize_file(zem_support::Utf8Path(folder_.Write("huge.xml", "<zem/>")), 3ULL << 30);
    EXPECT_TRUE(ZEM::ParseFile(folder_.Path("huge.xml").c_str(), "zem", &result_).IsEmpty());
    EXPECT_EQ(result_.error, ZEM::XmlFileTooLarge);
}

}  // namespace
