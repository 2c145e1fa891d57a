// The host's handle: shared and private factories, loading and resetting
// through any copy, moved-from handles, and the typed conveniences.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "container/process_objects.h"
#include "support/records.h"
#include "support/temp_dir.h"
#include "zem/zem.h"

namespace {

using namespace zem_support;
using Lines = std::vector<std::string>;
using ZEM::CContainer;

ZEM::CBeanFactoryImpl& Impl(const CContainer& container) {
    return dynamic_cast<ZEM::CBeanFactoryImpl&>(container.Factory());
}

class ContainerTest : public RecordingTest {
protected:
    void SetUp() override {
        RecordingTest::SetUp();
        ASSERT_FALSE(ZEM::LockSharedFactory()) << "a shared factory outlived an earlier test";
    }
};

TEST_F(ContainerTest, TheDefaultContainerStartsAnEmptySharedFactory) {
    CContainer shared;
    for (const char* name : {"a", "", "anything"}) EXPECT_FALSE(shared.Exists(name)) << name;
    EXPECT_EQ(ZEM::LockSharedFactory().get(), &shared.Factory());
    CContainer again;
    EXPECT_EQ(&again.Factory(), &shared.Factory());
}

// Shared containers add to one factory; a document that names a bean again is
// refused, and the others go on.
TEST_F(ContainerTest, SharedContainersShareOneFactory) {
    CContainer first(Document({{RecordingLibrary(), {Bean("shared.a", "Widget").Singleton()}}}).c_str(), true);
    CContainer second(Document({{RecordingLibrary(), {Bean("shared.b", "Gadget")}}}).c_str(), true);
    for (const CContainer* container : {&first, &second}) {
        EXPECT_TRUE(container->Exists("shared.a"));
        EXPECT_TRUE(container->Exists("shared.b"));
    }
    auto a = first.GetBean("shared.a");
    ASSERT_TRUE(a);
    EXPECT_EQ(second.GetBean("shared.a"), a);

    std::string again = Document({{"other.so", {Bean("shared.c", "Peer"), Bean("shared.a", "Peer")}}});
    EXPECT_EQ(MessageOf([&] { CContainer third(again.c_str(), true); }), L"Overriding bean 'shared.a' is not allowed");
    EXPECT_FALSE(first.Exists("shared.c")) << "nothing of a refused document is taken over";
    EXPECT_EQ(first.GetBean("shared.a"), a);
    EXPECT_TRUE(second.GetBean("shared.b"));
    // The start-up lock was let go: a further load works.
    CContainer fourth(Document({{RecordingLibrary(), {Bean("shared.d", "Peer")}}}).c_str(), true);
    EXPECT_TRUE(first.Exists("shared.d"));
    EXPECT_TRUE(CContainer().Exists("shared.b"));
}

TEST_F(ContainerTest, ANewSharedFactoryAfterTheLastHandle) {
    {
        CContainer first(Document({{RecordingLibrary(), {Bean("gone", "Widget").Singleton().Eager()}}}).c_str(), true);
        CContainer copy = first;
        EXPECT_TRUE(ZEM::LockSharedFactory());
    }
    EXPECT_FALSE(ZEM::LockSharedFactory());
    EXPECT_EQ(FixtureLog::Starting("~"), Lines{"~Widget#1"});
    CContainer fresh;
    EXPECT_FALSE(fresh.Exists("gone"));
}

// A private factory has its own definitions and singletons, and the slot of
// the shared factory never learns of it.
TEST_F(ContainerTest, PrivateAndSharedFactoriesStandApart) {
    std::string text = Document({{RecordingLibrary(), {Bean("both", "Widget").Singleton()}}});
    CContainer shared(text.c_str(), true);
    CContainer own(text.c_str());
    CContainer empty(nullptr);
    EXPECT_NE(&own.Factory(), &shared.Factory());
    EXPECT_EQ(ZEM::LockSharedFactory().get(), &shared.Factory());
    EXPECT_NE(own.GetBean("both"), shared.GetBean("both"));
    EXPECT_FALSE(empty.Exists("both"));
    own.Reset();
    EXPECT_TRUE(shared.Exists("both"));
}

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
    // A null or empty text loads nothing, but walks the eager beans again.
    first.Reset(static_cast<const char*>(nullptr));
    EXPECT_FALSE(first.Exists("new"));
    copy.Reset("");
    EXPECT_FALSE(copy.Exists("new"));
}

TEST_F(ContainerTest, EmptyTextStillMakesTheEagerBeansOfASharedFactory) {
    CContainer first(Document({{RecordingLibrary(), {Bean("each", "Gadget").Eager()}}}).c_str(), true);
    CContainer second("", true);
    CContainer third(static_cast<const char*>(nullptr), true);
    EXPECT_EQ(FixtureLog::Starting("create Gadget").size(), 3u);
}

// A configuring Reset empties the factory before it reads, so a file that
// can't be read leaves it empty, not as it was.
TEST_F(ContainerTest, ResetWithAFileThatCannotBeRead) {
    TempDir temp;
    CContainer container(Document({{RecordingLibrary(), {Bean("before", "Widget")}}}).c_str());
    std::wstring path = ZEM::Widen(temp.Path("missing.xml"));
    EXPECT_NE(MessageOf([&] { container.Reset(path.c_str()); }), L"");
    EXPECT_FALSE(container.Exists("before"));

    std::string file = temp.Write("good.xml", Document({{RecordingLibrary(), {Bean("after", "Widget")}}}));
    container.Reset(ZEM::Widen(file).c_str());
    EXPECT_TRUE(container.Exists("after"));
    CContainer fromFile(ZEM::Widen(file).c_str());
    EXPECT_TRUE(fromFile.Exists("after"));
}

// A constructor that throws leaves no container behind; a private factory
// goes with it.
TEST_F(ContainerTest, AConstructorThatThrowsKeepsNothing) {
    std::string text = Document({{RecordingLibrary(), {Bean("x", "Widget").Singleton().Eager()}}});
    CContainer first(text.c_str(), true);
    EXPECT_NE(MessageOf([&] { CContainer broken("<zem><library", false); }), L"");
    EXPECT_NE(MessageOf([&] { CContainer broken("<zem><library", true); }), L"");
    EXPECT_TRUE(first.Exists("x"));
}

// An eager bean whose class can't be had doesn't fail the load; asking for it
// later gives nothing.
TEST_F(ContainerTest, AnEagerBeanThatCannotBeMade) {
    std::string text = Document({{"no-such-library.so", {Bean("lost", "Widget").Eager()}},
                                 {RecordingLibrary(), {Bean("absent", "Absent").Eager(), Bean("fine", "Widget").Eager()}}});
    CContainer container(text.c_str());
    EXPECT_FALSE(container.GetBean("lost"));
    EXPECT_FALSE(container.GetBean("absent"));
    EXPECT_EQ(MessageOf([&] { container.Exists("lost"); }), L"Could not load library 'no-such-library.so'");
}

TEST_F(ContainerTest, MovedFromHandles) {
    CContainer source(Document({{RecordingLibrary(), {Bean("w", "Widget")}}}).c_str());
    ZEM::IBeanFactory* factory = &source.Factory();
    CContainer target(std::move(source));
    EXPECT_EQ(&target.Factory(), factory);
    EXPECT_TRUE(target.Exists("w"));
    source = CContainer(nullptr);  // a moved-from handle can be assigned to
    EXPECT_FALSE(source.Exists("w"));
    CContainer assigned(nullptr);
    assigned = std::move(target);
    EXPECT_EQ(&assigned.Factory(), factory);
    assigned = assigned;  // self-assignment keeps the factory
    EXPECT_TRUE(assigned.Exists("w"));
    CContainer dropped(std::move(assigned));
    // `target` and `assigned` are destroyed moved-from.
}

struct IGreeter {
    virtual ~IGreeter() = default;
};
class CGreeter : public ZEM::IObject, public IGreeter {};

TEST_F(ContainerTest, TypedConveniences) {
    CContainer container(Document({{RecordingLibrary(), {Bean("w", "Widget")}}}).c_str());
    EXPECT_TRUE(container.GetBean("w"));
    EXPECT_FALSE(container.GetBean<IGreeter>("w")) << "a bean that isn't a T gives nothing";
    auto greeter = std::make_shared<CGreeter>();
    container.RegisterService<IGreeter>(greeter);
    EXPECT_EQ(container.GetServiceCount<IGreeter>(), 1u);
    EXPECT_EQ(container.Factory().GetServiceCount(ZEM::TypeId<IGreeter>()), 1u);
    EXPECT_EQ(container.GetService<IGreeter>().get(), static_cast<IGreeter*>(greeter.get()));
    EXPECT_FALSE(container.GetService<IGreeter>(1));
    container.ReleaseInstance(greeter);
    EXPECT_EQ(container.GetServiceCount<IGreeter>(), 0u);

    // ReleaseInstance drops the pointer it was given, also when it throws.
    std::shared_ptr<ZEM::IObject> bean = container.GetBean("w");
    std::string tag = Tag(bean);
    FixtureLog::Take();
    EXPECT_EQ(MessageOf([&] { container.ReleaseInstance(std::move(bean)); }), L"Service instance was not registered");
    EXPECT_EQ(FixtureLog::Take(), Lines{"~" + tag});
}

// Objects may outlive the handle and the factory they came from.
TEST_F(ContainerTest, ObjectsOutliveTheirContainer) {
    std::shared_ptr<ZEM::IObject> kept;
    {
        CContainer container(Document({{RecordingLibrary(), {Bean("w", "Widget").Singleton()}}}).c_str());
        kept = container.GetBean("w");
        ASSERT_TRUE(kept);
    }
    EXPECT_TRUE(FixtureLog::Starting("~").empty());
    EXPECT_EQ(Tag(kept), "Widget#1");
    kept.reset();
    EXPECT_EQ(FixtureLog::Starting("~"), Lines{"~Widget#1"});
}

}  // namespace
