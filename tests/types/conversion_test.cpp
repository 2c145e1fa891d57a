// The value types end to end: a type name and a text in a definition, and what
// a real wrapper reads at the argument address.
#include "support/records.h"

namespace {

using namespace zem_support;

// The type name as written in the definition, the value's text (UTF-8 here,
// wide in the record), how the wrapper reads the address, and what it reads
// there, or the dropped failure after '!'.
const struct { const char* type; const char* text; const char* code; const char* read; } kConversions[] = {
    // bool: the two words alone, case-sensitive, nothing around them.
    {"bool", "true", "bool", "true"},
    {"bool", "TRUE", "bool", "!Invalid bool value"},
    {"bool", "1", "bool", "!Invalid bool value"},
    {"bool", " true", "bool", "!Invalid bool value"},
    {"bool", "", "bool", "!Invalid bool value"},
    // char takes a character, its neighbours a number.
    {"char", "A", "char", "65"},
    {"char", "", "char", "0"},
    {"short", "", "i16", "0"},
    {"char", "\xC3\xA9", "char", "-61"},  // first byte of the UTF-8 form
    {"int8_t", "200", "i8", "-56"},
    {"unsigned char", "300", "u8", "44"},
    {"unsigned   char", "7", "u8", "7"},
    {"unsignedchar", "7", "u8", "7"},
    {"unsigned\tchar", "7", "u8", "!Could not find type bean 'unsigned\tchar'"},
    {"uint16_t", "1", "u16", "!Could not find type bean 'uint16_t'"},
    // Numbers: the readers' own cases are in tests/platform/numeric_test.cpp,
    // each type name with its C++ type and reader (unsigned long alone reads
    // hexadecimal and octal) in tests/kit/parameter_types_test.cpp.
    {"float", "0.1", "f", "0.100000001"},
    {"double", "0.1", "d", "0.10000000000000001"},
    // strings: the layout of a pointer to the characters.
    {"char*", "h\xC3\xA9llo", "s", "\"h\xC3\xA9llo\""},
    {"const char*", "", "s", "\"\""},
    {"const  char *", "x", "s", "\"x\""},
    {"wchar_t*", "wide \xC3\xA9", "ws", "L\"wide \\u00e9\""},
    // Long texts and type names take the general road.
    {"const char*", "0123456789012345678901234567890123456789012345678901234567890123456789", "s",
     "\"0123456789012345678901234567890123456789012345678901234567890123456789\""},
    {"const                                                                char*", "y", "s", "\"y\""},
    // References by names of every length and alphabet.
    {"bean", "peer", "obj", "obj(Peer#"},
    {"bean", "p\xC3\xA9" "er", "obj", "obj(Gadget#"},
    {"bean", "peer-with-a-name-longer-than-any-name-that-fits-on-the-stack-0123456789", "obj", "obj(Factory#"},
    // names that are no type names; the message shows the name as written.
    {"Int", "1", "i32", "!Could not find type bean 'Int'"},
    {"long long", "1", "i32", "!Could not find type bean 'long long'"},
    {"int64_t", "1", "i32", "!Could not find type bean 'int64_t'"},
    {"signed char", "1", "i8", "!Could not find type bean 'signed char'"},
    {"wchar_t", "1", "ws", "!Could not find type bean 'wchar_t'"},
    {" bean", "peer", "obj", "!Could not find type bean ' bean'"},
};

class ConversionTest : public RecordingTest {};

// Each row is a bean of its own with one property.
TEST_F(ConversionTest, EveryTypeNameReadsAsTheTableSays) {
    Failures failures(*factory_);
    Library library{RecordingLibrary(),
                    {Bean("peer", "Peer"), Bean("p\xC3\xA9" "er", "Gadget"),
                     Bean("peer-with-a-name-longer-than-any-name-that-fits-on-the-stack-0123456789", "Factory")}};
    for (std::size_t i = 0; i < std::size(kConversions); ++i) {
        const auto& row = kConversions[i];
        library.beans.push_back(Bean("case" + std::to_string(i), "Widget")
                                    .Property(std::string("value(") + row.code + ")", {Arg(row.type, row.text)}));
    }
    Load(*factory_, {library});

    for (std::size_t i = 0; i < std::size(kConversions); ++i) {
        const auto& row = kConversions[i];
        const std::string name = "case" + std::to_string(i);
        SCOPED_TRACE(std::string("type '") + row.type + "' text '" + row.text + "'");
        FixtureLog::Take();
        std::shared_ptr<ZEM::IObject> object = factory_->GetBean(name.c_str(), nullptr);
        Lines invokes = FixtureLog::Starting("invoke "), dropped = failures.Take();
        if (row.read[0] == '!') {
            EXPECT_FALSE(object);
            EXPECT_TRUE(invokes.empty()) << "the wrapper must not be called with a value that failed";
            EXPECT_EQ(dropped, Lines{name + ": " + (row.read + 1)});
        } else {
            ASSERT_TRUE(object);
            ASSERT_EQ(invokes.size(), 1u);
            // A read ending in '#' is the start of an object's tag.
            std::string expected = std::string(" [") + row.read;
            if (expected.back() != '#') expected += "] -> true";
            EXPECT_EQ(invokes[0].substr(invokes[0].rfind(" [")).substr(0, expected.size()), expected) << invokes[0];
            EXPECT_TRUE(dropped.empty());
        }
    }
}

}  // namespace
