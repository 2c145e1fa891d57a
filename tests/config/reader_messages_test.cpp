// Every message that a bad document gives while it is read, each triggered by
// a small document given as text, and the order in which faults are found
// when a document holds several.
#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "config/document_reader.h"
#include "reader_test_support.h"

namespace {

using zem_test::TextMessage;

struct SCase {
    const char* document;
    const wchar_t* message;
};

// The body of a `beans` element inside a document of one library.
std::string InBeans(const std::string& body) {
    return "<zem><library path='x.so'><beans>" + body + "</beans></library></zem>";
}

TEST(ReaderMessages, EachFaultGivesItsExactMessage) {
    const SCase cases[] = {
        // The class.
        {"<bean name='b'/>", L"Missing class name when parsing type 'b'"},
        {"<bean name='b' class=''/>", L"Missing class name when parsing type 'b'"},
        {"<service class=''/>", L"Missing class name when parsing type ''"},
        {"<foreach set='' substitute='c'><bean name='n%c%' class='%c%'/></foreach>",
         L"Missing class name when parsing type 'n'"},
        {"<bean name='b' class='C'><constructor-arg><argument><bean/></argument></constructor-arg></bean>",
         L"Class name for unnamed bean not defined"},
        {"<bean name='b' class='C'><properties><property name='p'><bean class=''/></property></properties></bean>",
         L"Class name for unnamed bean not defined"},
        // Truth values are exactly "true" or "false".
        {"<bean name='b' class='C' singleton='yes'/>", L"Value of bool parameter must be 'true' or 'false'"},
        {"<bean name='b' class='C' lazy='True'/>", L"Value of bool parameter must be 'true' or 'false'"},
        {"<bean name='b' class='C' autoname=''/>", L"Value of bool parameter must be 'true' or 'false'"},
        {"<bean name='b' class='C' exported='1'/>", L"Value of bool parameter must be 'true' or 'false'"},
        {"<foreach set='TRUE' substitute='s'><bean name='b' class='C' singleton='%s%'/></foreach>",
         L"Value of bool parameter must be 'true' or 'false'"},
        // Arguments.
        {"<bean name='b' class='C'><constructor-arg/></bean>",
         L"Error while parsing constructor arguments of bean 'b': There are no arguments"},
        {"<bean name='b' class='C'><constructor-arg><arg><value type='int'>1</value></arg></constructor-arg></bean>",
         L"Error while parsing constructor arguments of bean 'b': There are no arguments"},
        {"<bean name='b' class='C'><constructor-arg><argument/></constructor-arg></bean>",
         L"Error when parsing arguments of bean 'b': There are no arguments"},
        {"<bean name='b' class='C'><constructor-arg><argument><value>1</value></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': Type is not defined"},
        {"<bean name='b' class='C'><constructor-arg><argument><ref/></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': There is no valid reference bean or service name"},
        {"<bean name='b' class='C'><constructor-arg><argument><ref bean='' service=''/></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': There is no valid reference bean or service name"},
        // Properties.
        {"<bean name='b' class='C'><properties><property><nullptr/></property></properties></bean>",
         L"Error while parsing property: There is no valid attribute 'name'"},
        {"<bean name='b' class='C'><properties><property name=''><nullptr/></property></properties></bean>",
         L"Error while parsing property: There is no valid attribute 'name'"},
        {"<bean name='b' class='C'><properties><property name='p'/></properties></bean>",
         L"Error when parsing arguments of bean 'b': There are no arguments"},
        {"<bean name='b' class='C'><properties><property name='p'><arguments/></property></properties></bean>",
         L"Error while parsing property: Missing arguments"},
        // An argument that holds nothing is no missing argument.
        {"<bean name='b' class='C'><properties><property name='p'><arguments><argument/></arguments>"
         "</property></properties></bean>",
         L"Error when parsing arguments of bean 'b': There are no arguments"},
        // A `service` element is no value form.
        {"<bean name='b' class='C'><properties><property name='p'><service class='D'/></property></properties></bean>",
         L"Error when parsing arguments of bean 'b': There are no arguments"},
        // Substitution and loops.
        {"<for first='1' last='1' substitute='i'><bean name='b%j%' class='C'/></for>", L"Missing substitution"},
        {"<for first='1' last='1' substitute='i'><bean name='b%I%' class='C'/></for>", L"Missing substitution"},
        {"<for first='1' last='1' substitute='i'><bean name='b' class='C%i'/></for>", L"Invalid substitution pattern"},
        {"<for first='x' last='1' substitute='i'><bean name='b' class='C'/></for>",
         L"Value of numeric parameter must be numeric"},
        {"<for first='3' last='1'><bean name='b' class='C'/></for>", L"Empty attribute 'substitute' in bean for loop"},
        {"<foreach set='a' substitute=''><bean name='b' class='C'/></foreach>",
         L"Empty attribute 'substitute' in bean foreach loop"},
        {"<bean name='b' class='C'><properties><for first='1' last='1'/></properties></bean>",
         L"Empty attribute 'substitute' in bean for loop"},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.document);
        EXPECT_EQ(TextMessage(InBeans(c.document)), c.message);
    }
}

TEST(ReaderMessages, ParseFailuresOfTextReportWithoutWordingTheError) {
    EXPECT_EQ(TextMessage("<x><y/></x>"), L"Error while parsing xml: Error when parssing 'zem'.");
    EXPECT_EQ(TextMessage("   \n  "), L"Error while parsing xml: Error when parssing 'zem'.");

    // A malformed document reports where, as line and column.
    const std::wstring message = TextMessage("<zem>\n<library>\n<beans>\n</zem>");
    const std::wstring prefix = L"Error while parsing xml: Error when parssing 'zem' at line ";
    ASSERT_EQ(message.compare(0, prefix.size(), prefix), 0) << message;
    EXPECT_NE(message.find(L", column "), std::wstring::npos) << message;
    EXPECT_EQ(message.back(), L'.');
}

TEST(ReaderMessages, DescribeParseErrorShowsPositionOnlyWhenKnown) {
    struct SReport {
        ZEM::SXmlParseResult result;
        const wchar_t* text;
    };
    const SReport reports[] = {
        {{0, 4, 2}, L""},
        {{11, 0, 0}, L"Error when parssing 'zem'."},
        {{3, 0, 9}, L"Error when parssing 'zem'."},
        {{1, 3, 17}, L"Error when parssing 'zem' at line 3, column 17."},
        {{8, 120, 1}, L"Error when parssing 'zem' at line 120, column 1."},
    };
    for (const SReport& r : reports) {
        SCOPED_TRACE(r.result.error);
        EXPECT_EQ(ZEM::DescribeParseError(r.result, "zem"), r.text);
    }
}

// ReadBean works in a fixed order, so the first fault in that order is the one
// reported, whatever the order in the file.
TEST(ReaderMessages, FaultsComeUpInReadingOrder) {
    const SCase cases[] = {
        {"<bean name='b' singleton='x'/>", L"Missing class name when parsing type 'b'"},
        {"<bean name='b' class='C' exported='x' singleton='y'/>", L"Value of bool parameter must be 'true' or 'false'"},
        // constructor-arg before properties, though written after them.
        {"<bean name='b' class='C'><properties><property/></properties><constructor-arg/></bean>",
         L"Error while parsing constructor arguments of bean 'b': There are no arguments"},
        // The plain `bean` children before the loops of one `beans` element.
        {"<for first='x' last='1' substitute='i'/><bean name='b'/>", L"Missing class name when parsing type 'b'"},
        // `value` decides; a broken `ref` beside it is not looked at.
        {"<bean name='b' class='C'><constructor-arg><argument><ref/><value>1</value></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': Type is not defined"},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.document);
        EXPECT_EQ(TextMessage(InBeans(c.document)), c.message);
    }
}

// A fault inside an inner bean names the inner bean, by its generated name.
TEST(ReaderMessages, FaultInInnerBeanNamesTheInnerBean) {
    const std::wstring message = TextMessage(InBeans(
        "<bean name='outer' class='C'><constructor-arg><argument><bean class='Inner@y.so'>"
        "<constructor-arg><argument/></constructor-arg></bean></argument></constructor-arg></bean>"));
    const std::wstring prefix = L"Error when parsing arguments of bean 'unnamed bean ";
    const std::wstring suffix = L" Inner@y.so': There are no arguments";
    ASSERT_EQ(message.size(), prefix.size() + 36 + suffix.size()) << message;
    EXPECT_EQ(message.substr(0, prefix.size()), prefix);
    EXPECT_EQ(message.substr(message.size() - suffix.size()), suffix);
    for (wchar_t c : message.substr(prefix.size(), 36)) EXPECT_TRUE(c == L'-' || std::iswdigit(c) || std::iswupper(c));
}

}  // namespace
