// The host's handle: shared and private factories, copies, loads that fail.
#include "container/process_objects.h"
#include "support/records.h"
#include "support/temp_dir.h"
#include "zem/zem.h"

namespace {

using namespace zem_support;
using ZEM::CContainer;

class ContainerTest : public RecordingTest {
protected:
    void SetUp() override {
        RecordingTest::SetUp();
        ASSERT_FALSE(ZEM::LockSharedFactory()) << "a shared factory outlived an earlier test";
    }
};

// Shared containers add to one factory; a document naming a bean again is
// refused, and the others go on.
TEST_F(ContainerTest, SharedContainersShareOneFactory) {
    CContainer first(Document({{RecordingLibrary(), {Bean("shared.a", "Widget").Singleton()}}}).c_str(), true);
    CContainer second(Document({{RecordingLibrary(), {Bean("shared.b", "Gadget")}}}).c_str(), true);
    EXPECT_TRUE(first.Exists("shared.b"));
    auto a = first.GetBean("shared.a");
    ASSERT_TRUE(a);
    EXPECT_EQ(second.GetBean("shared.a"), a);

    std::string again = Document({{"other.so", {Bean("shared.c", "Peer"), Bean("shared.a", "Peer")}}});
    EXPECT_EQ(MessageOf([&] { CContainer third(again.c_str(), true); }), L"Overriding bean 'shared.a' is not allowed");
    EXPECT_FALSE(first.Exists("shared.c")) << "nothing of a refused document is taken over";
    EXPECT_EQ(first.GetBean("shared.a"), a);
    // A further load works (the start-up lock was let go); empty text loads
    // nothing but walks the shared factory's eager beans again.
    CContainer eager(Document({{RecordingLibrary(), {Bean("each", "Gadget").Eager()}}}).c_str(), true);
    CContainer empty("", true);
    CContainer null(static_cast<const char*>(nullptr), true);
    EXPECT_EQ(FixtureLog::Starting("create Gadget Gadget").size(), 3u);
}

// Any copy resets the one factory; a file that can't be read leaves it empty.
TEST_F(ContainerTest, ResetThroughACopy) {
    CContainer first(Document({{RecordingLibrary(), {Bean("old", "Widget").Singleton()}}}).c_str());
    CContainer copy = first;
    auto held = first.GetBean("old");
    copy.Reset();
    EXPECT_FALSE(first.Exists("old"));
    EXPECT_TRUE(FixtureLog::Starting("~").empty()) << "the host still holds the singleton";
    copy.Reset(Document({{RecordingLibrary(), {Bean("new", "Gadget").Eager()}}}).c_str());
    EXPECT_TRUE(first.Exists("new"));
    EXPECT_EQ(FixtureLog::Starting("create Gadget").size(), 1u);

    TempDir temp;
    std::wstring missing = ZEM::Widen(temp.Path("missing.xml"));
    EXPECT_NE(MessageOf([&] { first.Reset(missing.c_str()); }), L"");
    EXPECT_FALSE(copy.Exists("new"));
    std::wstring file = ZEM::Widen(temp.Write("good.xml", Document({{RecordingLibrary(), {Bean("after", "Widget")}}})));
    copy.Reset(file.c_str());
    EXPECT_TRUE(first.Exists("after"));
    first.Reset(static_cast<const char*>(nullptr));
    EXPECT_FALSE(copy.Exists("after"));
}

// A failed load leaves no container; an eager bean that fails doesn't fail it.
TEST_F(ContainerTest, LoadFailures) {
    CContainer first(Document({{RecordingLibrary(), {Bean("x", "Widget").Singleton().Eager()}}}).c_str(), true);
    EXPECT_NE(MessageOf([&] { CContainer broken("<zem><library", false); }), L"");
    EXPECT_NE(MessageOf([&] { CContainer broken("<zem><library", true); }), L"");
    EXPECT_TRUE(first.Exists("x"));
    CContainer container(Document({{"no-such-library.so", {Bean("lost", "Widget").Eager()}}}).c_str());
    EXPECT_FALSE(container.GetBean("lost"));
}

// The named forms: a path is never taken for text, and a view needs no end zero.
TEST_F(ContainerTest, NamedForms) {
    TempDir temp;
    const std::string document = Document({{RecordingLibrary(), {Bean("from.file", "Widget")}}});
    CContainer fromFile = CContainer::FromFile(temp.Write("app.xml", document));
    EXPECT_TRUE(fromFile.Exists("from.file"));
    EXPECT_NE(MessageOf([&] { CContainer::FromFile(temp.Path("missing.xml")); }), L"");

    const std::string padded = document + "<zem><library";  // an error if read
    CContainer fromText = CContainer::FromText(std::string_view(padded).substr(0, document.size()), true);
    EXPECT_TRUE(fromText.Exists("from.file"));
    EXPECT_TRUE(CContainer().Exists("from.file")) << "shared as asked";

}

}  // namespace
