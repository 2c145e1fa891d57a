// Every message of a bad document while it is read, and which of several
// faults is found first.
#include "reader_test_support.h"

namespace {

using namespace zem_test;

TEST(ReaderMessages, EachFaultGivesItsExactMessage) {
    const struct { const char* document; const wchar_t* message; } cases[] = {
        {"<bean name='b' class=''/>", L"Missing class name when parsing type 'b'"},
        // The name is the substituted one.
        {"<foreach set='' substitute='c'><bean name='n%c%' class='%c%'/></foreach>",
         L"Missing class name when parsing type 'n'"},
        {"<bean name='b' class='C'><constructor-arg><argument><bean/></argument></constructor-arg></bean>",
         L"Class name for unnamed bean not defined"},
        {"<bean name='b' class='C' lazy='True'/>", L"Value of bool parameter must be 'true' or 'false'"},
        {"<bean name='b' class='C'><constructor-arg/></bean>",
         L"Error while parsing constructor arguments of bean 'b': There are no arguments"},
        {"<bean name='b' class='C'><constructor-arg><argument/></constructor-arg></bean>",
         L"Error when parsing arguments of bean 'b': There are no arguments"},
        {"<bean name='b' class='C'><constructor-arg><argument><value>1</value></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': Type is not defined"},
        {"<bean name='b' class='C'><constructor-arg><argument><ref bean='' service=''/></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': There is no valid reference bean or service name"},
        {"<bean name='b' class='C'><properties><property name=''><nullptr/></property></properties></bean>",
         L"Error while parsing property: There is no valid attribute 'name'"},
        {"<bean name='b' class='C'><properties><property name='p'><arguments/></property></properties></bean>",
         L"Error while parsing property: Missing arguments"},
        // A `service` element is no value form.
        {"<bean name='b' class='C'><properties><property name='p'><service class='D'/></property></properties></bean>",
         L"Error when parsing arguments of bean 'b': There are no arguments"},
        {"<for first='1' last='1' substitute='i'><bean name='b%I%' class='C'/></for>", L"Missing substitution"},
        {"<for first='1' last='1' substitute='i'><bean name='b' class='C%i'/></for>", L"Invalid substitution pattern"},
        {"<for first='x' last='1' substitute='i'><bean name='b' class='C'/></for>",
         L"Value of numeric parameter must be numeric"},
        {"<for first='3' last='1'><bean name='b' class='C'/></for>", L"Empty attribute 'substitute' in bean for loop"},
        {"<foreach set='a' substitute=''><bean name='b' class='C'/></foreach>",
         L"Empty attribute 'substitute' in bean foreach loop"},
        {"<for first='1' last='3' inc='0' substitute='i'/>", L"Loop over 'i' has a step of 0"},
        {"<for first='1' last='3' inc='-1' substitute='i'/>", L"Loop over 'i' wraps around before passing its last value"},
        // With several faults, the first in reading order is reported: the
        // class, the flags, constructor-arg before properties, plain beans
        // before loops, and a `value` before a broken `ref` beside it.
        {"<bean name='b' singleton='x'/>", L"Missing class name when parsing type 'b'"},
        {"<bean name='b' class='C'><properties><property/></properties><constructor-arg/></bean>",
         L"Error while parsing constructor arguments of bean 'b': There are no arguments"},
        {"<for first='x' last='1' substitute='i'/><bean name='b'/>", L"Missing class name when parsing type 'b'"},
        {"<bean name='b' class='C'><constructor-arg><argument><ref/><value>1</value></argument></constructor-arg></bean>",
         L"Error while parsing arguments of bean 'b': Type is not defined"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.document);
        EXPECT_EQ(TextMessage(InBeans(c.document)), c.message);
    }
    // A fault inside an inner bean names the inner bean.
    const std::wstring inner = TextMessage(InBeans(
        "<bean name='outer' class='C'><constructor-arg><argument><bean class='Inner@y.so'>"
        "<constructor-arg><argument/></constructor-arg></bean></argument></constructor-arg></bean>"));
    EXPECT_EQ(inner.rfind(L"Error when parsing arguments of bean 'unnamed bean ", 0), 0u) << inner;
    EXPECT_TRUE(inner.ends_with(L" Inner@y.so': There are no arguments")) << inner;
}

TEST(ReaderMessages, ParseFailuresShowThePositionOnlyWhenKnown) {
    EXPECT_EQ(TextMessage("<x><y/></x>"), L"Error while parsing xml: Error when parssing 'zem'.");
    EXPECT_EQ(TextMessage("<zem>\n<library>\n<beans>\n</zem>"),
              L"Error while parsing xml: Error when parssing 'zem' at line 4, column 7.");
    // No error gives no text; line 0 stands for an unknown position.
    EXPECT_EQ(ZEM::DescribeParseError({0, 4, 2}, "zem"), L"");
    EXPECT_EQ(ZEM::DescribeParseError({3, 0, 9}, "zem"), L"Error when parssing 'zem'.");
    EXPECT_EQ(ZEM::DescribeParseError({8, 120, 1}, "zem"), L"Error when parssing 'zem' at line 120, column 1.");
}

}  // namespace
