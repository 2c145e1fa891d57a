// Memory that runs out at any one allocation of a load and of the requests
// after it, one of them on a fresh thread: the host sees std::bad_alloc or the library's exception, a
// request an empty result, and the same container loads and works afterwards.
// Run under AddressSanitizer, the sweep also shows that no failure leaks.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>

#include "foundation/string_convert.h"
#include "memory/failing_allocator.h"
#include "support/temp_dir.h"
#include "zem/class.h"
#include "zem/zem.h"

namespace {

struct IGreeting {
    virtual ~IGreeting() = default;
};

// One class for every kind of value: a constructor of an int, a string and a
// bean, properties of the other kinds, and an init method that fails for a
// negative number. The numbers all take one road, a value pointer of their
// type: bool (which has a message of its own), one integer and a double
// stand for them.
struct SAll : ZEM::IObject, IGreeting {
    SAll() = default;
    SAll(int n, std::string s, std::shared_ptr<ZEM::IObject> b) : number(n), text(std::move(s)), bean(std::move(b)) {}
    bool Init() const { return number >= 0; }

    int number = 0;
    std::string text;
    std::shared_ptr<ZEM::IObject> bean;
    bool flag = false;
    unsigned int count = 0;
    double real = 0;
    std::wstring wide;
    std::shared_ptr<ZEM::IObject> service;
};

ZEM::CClass<SAll> BindAll() {
    return ZEM::CClass<SAll>()
        .Constructor<>()
        .Constructor<int, std::string, std::shared_ptr<ZEM::IObject>>()
        .Method("Init", &SAll::Init)
        .Property("Flag", &SAll::flag)
        .Property("Count", &SAll::count)
        .Property("Real", &SAll::real)
        .Property("Text", &SAll::text)
        .Property("Wide", &SAll::wide)
        .Property("Bean", &SAll::bean)
        .Property("Service", &SAll::service);
}

const char* const kPart = R"(<zem><library><beans>
  <foreach substitute="s" set="a|b|c">
    <bean name="part-%s%" class="All" singleton="true"><provides><interface>All</interface></provides></bean>
  </foreach></beans></library></zem>)";

const char* const kMain = R"(<zem><include path="part.xml"/><library><beans>
  <bean name="root" class="All" singleton="true" lazy="false" init-method="Init">
    <constructor-arg>
      <argument><value type="int">7</value></argument>
      <argument><value type="const char*">grüße</value></argument>
      <argument><bean class="All"><properties><property name="Text"><value type="char*">inner</value></property></properties></bean></argument>
    </constructor-arg>
    <properties>
      <property name="Flag"><value type="bool">true</value></property>
      <property name="Count"><value type="uint32_t">4000000000</value></property>
      <property name="Real"><value type="double">2.25</value></property>
      <property name="Wide"><value type="const wchar_t*">ω</value></property>
      <property name="Service"><ref service="All"/></property>
    </properties>
    <depends-on><bean-name>part-a</bean-name></depends-on>
  </bean>
  <for substitute="i" first="1" last="3">
    <bean name="made-%i%" class="All">
      <constructor-arg>
        <argument><value type="int">%i%</value></argument>
        <argument><value type="wchar_t*">n%i%</value></argument>
        <argument><ref bean="part-b"/></argument>
      </constructor-arg>
      <properties><property name="Bean"><nullptr/></property></properties>
    </bean>
  </for>
  <bean name="refused" class="All" init-method="Init">
    <constructor-arg>
      <argument><value type="int">-1</value></argument>
      <argument><value type="char*">no</value></argument>
      <argument><nullptr/></argument>
    </constructor-arg>
  </bean>
</beans></library></zem>)";

// What a load made, read with the allocator unarmed.
std::string Describe(const ZEM::CContainer& container) {
    auto root = container.GetBean<SAll>("root");
    auto made = container.GetBean<SAll>("made-3");
    if (!root || !made) return "missing";
    return std::to_string(root->number) + ZEM::Narrow(ZEM::Widen(root->text)) + (root->bean ? "+" : "-") +
           std::to_string(root->count) + ZEM::Narrow(root->wide) + (root->service ? "+" : "-") +
           std::to_string(made->number) + (container.GetBean("refused") ? "+" : "-");
}

TEST(OutOfMemory, EveryAllocationOfALoadAndItsRequestsMayFail) {
    ZEM::RegisterClass<BindAll>("All");
    ZEM::GetLocalLibrary().RegisterTypeId("All", ZEM::TypeId<IGreeting>());
    zem_support::TempDir folder;
    std::ofstream(folder.Path("part.xml")) << kPart;
    std::ofstream(folder.Path("main.xml")) << kMain;
    const std::wstring path = ZEM::Widen(folder.Path("main.xml"));

    ZEM::CContainer container(nullptr);
    container.Reset(path.c_str());
    const std::string expected = Describe(container);
    ASSERT_EQ(expected, "7grüße+2147483647ω+3-");

    // Every allocation up to a few thousand, then a sample of the rest.
    std::uint64_t failures = 0;
    for (std::uint64_t nth = 1;; nth += nth < 3000 ? 1 : nth / 50) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        std::string outcome = "loaded";
        zem_test::ArmAllocationFailure(nth);
        try {
            container.Reset(path.c_str());
            container.GetBean("root");
            container.GetBean("made-2");
            container.GetService<IGreeting>();
            // A thread's first request sets up its thread-local state.
            std::thread([&] { container.GetBean("made-1"); }).join();
        } catch (const std::bad_alloc&) {
            outcome = "bad_alloc";
        } catch (const ZEM::CException& error) {
            // Out of memory never passes for a fault of the document.
            outcome = ZEM::Narrow(error.GetMessageW());
        } catch (const IException&) {
            outcome = "map exception";
        } catch (...) {
            outcome = "something else";
        }
        const std::uint64_t seen = zem_test::DisarmAllocationFailure();
        const bool failed = zem_test::AllocationFailed();
        EXPECT_TRUE(outcome == "loaded" || outcome == "bad_alloc" || outcome == "map exception") << outcome;
        if (!failed) break;  // the whole run fitted below `nth`: every allocation has failed once
        ++failures;
        EXPECT_GE(seen, nth);
        // The same container loads the document again and makes every bean.
        container.Reset(path.c_str());
        ASSERT_EQ(Describe(container), expected);
    }
    EXPECT_GT(failures, 100u);
}

}  // namespace
