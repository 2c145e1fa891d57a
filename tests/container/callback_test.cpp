// Host and bean code that calls back into the factory that is running it: a
// reset or a load from inside is refused with a clear error and the factory
// stays whole; failure handlers may remove themselves and fall back on other
// requests. Under AddressSanitizer, nothing is used after it has gone.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "foundation/string_convert.h"
#include "support/message_of.h"
#include "zem/class.h"
#include "zem/zem.h"

namespace {

struct IHook {
    virtual ~IHook() = default;
};

// A bean whose init method runs whatever the test put into `g_init`.
std::function<void()> g_init;

struct SHooked : ZEM::IObject, IHook {
    bool Init() const {
        if (g_init) g_init();
        return true;
    }
};

ZEM::CClass<SHooked> BindHooked() { return ZEM::CClass<SHooked>().Constructor<>().Method("Init", &SHooked::Init); }

const char* const kDocument = R"(<zem><library><beans>
  <bean name="hooked" class="Hooked" init-method="Init"/>
  <bean name="plain" class="Hooked" singleton="true"/>
  <bean name="failing" class="Hooked" init-method="Absent"/>
</beans></library></zem>)";

class CallbackTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ZEM::RegisterClass<BindHooked>("Hooked"); }
    void TearDown() override { g_init = nullptr; }

    // The message that `call` threw, "" if none.
    static std::string Thrown(const std::function<void()>& call) { return ZEM::Narrow(zem_support::MessageOf(call)); }
};

TEST_F(CallbackTest, ResetAndLoadFromCodeTheFactoryRunsAreRefused) {
    const std::string refusedReset = "Operation 'Reset' is not allowed from code that its factory is running";
    ZEM::CContainer container(kDocument, true);
    std::string seen;

    // From bean code: each call is refused, the bean is made, the factory whole.
    struct SCase {
        const char* what;
        bool eager;  // from an eager bean of another, private container's load
        std::function<void()> call;
        std::string expected;
    };
    const SCase cases[] = {
        {"Reset", false, [&] { container.Reset(); }, refusedReset},
        {"Reset(text)", false, [&] { container.Reset(kDocument); }, refusedReset},
        {"a shared container", false, [&] { ZEM::CContainer again("<zem/>", true); },
         "Operation 'load' is not allowed from code that its factory is running"},
        // All loads share one start-up lock: loading any container there would wait for itself.
        {"a private container", true, [&] { ZEM::CContainer again("<zem/>", false); },
         "Operation 'load' is not allowed from code that a load is running"},
    };
    for (const SCase& each : cases) {
        SCOPED_TRACE(each.what);
        seen = "not called";
        g_init = [&] { seen = Thrown(each.call); };
        if (each.eager)
            ZEM::CContainer(R"(<zem><library><beans><bean class="Hooked" init-method="Init" lazy="false"/></beans></library></zem>)");
        else
            EXPECT_TRUE(container.GetBean("hooked"));
        g_init = nullptr;
        EXPECT_EQ(seen, each.expected);
        EXPECT_TRUE(container.GetBean("plain"));
    }

    // From a service maker, a failure handler, and a release function that a
    // reset of the same factory runs.
    seen = "not called";
    container.RegisterService<IHook>([&]() -> std::unique_ptr<ZEM::IObject> {
        seen = Thrown([&] { container.Reset(); });
        return std::make_unique<SHooked>();
    });
    EXPECT_TRUE(container.GetService<IHook>());
    EXPECT_EQ(seen, refusedReset) << "from a service maker";

    seen = "not called";
    ZEM::SetBeanFailureHandler(container.Factory(), [&](const char*, const std::wstring&, const auto&) {
        seen = Thrown([&] { container.Reset(); });
    });
    EXPECT_FALSE(container.GetBean("failing"));
    EXPECT_EQ(seen, refusedReset) << "from a failure handler";
    ZEM::SetBeanFailureHandler(container.Factory(), nullptr);

    seen = "not called";
    container.RegisterService<IHook>([] { return std::make_unique<SHooked>(); })
        ->SetSingleton()
        .SetReleaseFunction([&](ZEM::IObject*) { seen = Thrown([&] { container.Reset(); }); });
    container.GetService<IHook>(1);
    container.Reset();
    EXPECT_EQ(seen, refusedReset) << "from a release function";

    // From the outside, the same calls work as ever.
    container.Reset(kDocument);
    EXPECT_TRUE(container.GetBean("plain"));
}

TEST_F(CallbackTest, FailureHandlersMayRemoveThemselvesAndFallBack) {
    ZEM::CContainer container(kDocument);
    ZEM::IBeanFactory& factory = container.Factory();

    // A one-shot handler: it removes itself, and its captures, while it runs.
    auto calls = std::make_shared<int>(0);
    ZEM::SetBeanFailureHandler(factory, [&factory, calls](const char*, const std::wstring&, const auto&) {
        ++*calls;
        ZEM::SetBeanFailureHandler(factory, nullptr);
        EXPECT_EQ(*calls, 1);  // still readable after its own removal
    });
    EXPECT_FALSE(container.GetBean("failing"));
    EXPECT_FALSE(container.GetBean("failing"));
    EXPECT_EQ(*calls, 1);

    // A fallback: the handler asks again, for the same bean and for another.
    std::vector<std::string> told;
    std::shared_ptr<ZEM::IObject> fallback;
    ZEM::SetBeanFailureHandler(factory, [&](const char* name, const std::wstring&, const auto&) {
        told.emplace_back(name);
        container.GetBean(name);
        fallback = container.GetBean("plain");
    });
    EXPECT_FALSE(container.GetBean("failing"));
    EXPECT_EQ(told, std::vector<std::string>{"failing"}) << "the handler's own requests don't come back to it";
    EXPECT_TRUE(fallback);
    ZEM::SetBeanFailureHandler(factory, nullptr);
}

}  // namespace
