// Where makers come from: a class library built with the kit alone
// (tests/fixtures/kit), and the local library, where a host registers its own.
#include <gtest/gtest.h>

#include "fixtures/kit/kit_fixture.h"
#include "kit/kit_test_classes.h"
#include "kit/kit_xml.h"
#include "platform/module.h"
#include "zem/class.h"
#include "zem/zem.h"

namespace zem_test {
namespace {

using namespace xml;
using Events = std::vector<std::string>;

const std::string kLibrary = std::string(ZEM_FIXTURE_DIR) + "/libkit" ZEM_MODULE_SUFFIX;

void* LibrarySymbol(const char* name) {
    return ZEM::platform::FindSymbol(ZEM::platform::LoadModule(kLibrary.c_str()), name);
}

std::vector<std::string>& LibraryJournal() {
    return *reinterpret_cast<kit_fixture::JournalFunction>(LibrarySymbol(kit_fixture::kJournalSymbol))();
}

// The container finds the makers by the symbols that its own rule gives for
// the nested class names, and the library's interface by its registration.
TEST(ClassLibraryTest, ContainerUsesTheLibraryThroughItsMakers) {
    LibraryJournal().clear();
    std::shared_ptr<kit_fixture::ICounter> opened;
    {
        ZEM::CContainer container(Document(
            Bean("counter", "kit_fixture::nested::Counter", "singleton='true' exit-method='Close'",
                 ConstructorValues({{"char*", "c"}, {"int", "10"}}) + Properties(Property("Step", Value("short", "5"))) +
                     "<provides><interface>kit_fixture::ICounter</interface></provides>") +
            Bean("factory", "kit_fixture::CounterFactory") +
            Bean("opened", "kit_fixture::nested::Counter",
                 "factory-bean='factory' factory-method='Open' exit-method='Close'",
                 ConstructorValues({{"const char*", "o"}, {"int", "0"}})),
            kLibrary).c_str());

        // The interface was registered by the library when it was loaded.
        auto service = container.GetService<kit_fixture::ICounter>();
        ASSERT_NE(service, nullptr);
        EXPECT_EQ(service->Next(), 15);

        opened = container.GetBean<kit_fixture::ICounter>("opened");
        ASSERT_NE(opened, nullptr);
        EXPECT_EQ(opened->Next(), 1);
    }
    // The factory took the singleton with it; the host's object lives on.
    EXPECT_EQ(LibraryJournal(), (Events{"close c at 15", "~c"}));
    opened.reset();
    EXPECT_EQ(LibraryJournal(), (Events{"close c at 15", "~c", "close o at 1", "~o"}));
    // What the container never asks: the class name, joined from its parts.
    auto maker = reinterpret_cast<ZEM::WrapperMaker>(LibrarySymbol("create_kit_fixture_nested_Counter_Wrapper"));
    EXPECT_STREQ(std::unique_ptr<ZEM::IBeanWrapper>(maker())->GetClassName(), "kit_fixture::nested::Counter");
}

ZEM::CClass<CPlain> BindRenamed() { return ZEM::CClass<CPlain>().Constructor<>(); }

TEST(LocalLibraryTest, OneBinderServesOneClassName) {
    ZEM::RegisterClass<&BindRenamed>("local::First");
    EXPECT_NE(ZEM::CContainer(Document(Bean("first", "local::First")).c_str()).GetBean("first"), nullptr);
    // Registered again under another name, the binder leaves the first one,
    // and its constructor answers to the new class's own name.
    ZEM::RegisterClass<&BindRenamed>("local::Second");
    ZEM::CContainer second(Document(Bean("second", "local::Second")).c_str());
    EXPECT_NE(second.GetBean("second"), nullptr);
    ZEM::CContainer first(Document(Bean("first", "local::First")).c_str());
    EXPECT_THROW(first.Exists("first"), ZEM::CException);  // no maker any more

    EXPECT_TRUE(ZEM::UnregisterClass("local::Second"));
}

}  // namespace
}  // namespace zem_test
