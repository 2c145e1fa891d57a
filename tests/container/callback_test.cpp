// Host and bean code that calls back into the factory that is running it: a
// reset or a load from inside is refused with a clear error and the factory
// stays whole; failure handlers may remove themselves and fall back on other
// requests; a release function that throws is told, not fatal. Run under
// AddressSanitizer, these also show that nothing is used after it has gone.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>

#include "container/bean_factory.h"
#include "foundation/string_convert.h"
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

    // What `call` threw, or "" if it threw nothing.
    static std::string Thrown(const std::function<void()>& call) {
        try {
            call();
        } catch (const ZEM::CException& error) {
            return ZEM::Narrow(error.GetMessageW());
        }
        return "";
    }
};

TEST_F(CallbackTest, ResetAndLoadFromCodeTheFactoryRunsAreRefused) {
    const std::string refusedReset = "Operation 'Reset' is not allowed from code that its factory is running";
    const std::string refusedLoad = "Operation 'load' is not allowed from code that its factory is running";
    ZEM::CContainer container(kDocument, true);
    auto& factory = dynamic_cast<ZEM::CBeanFactoryImpl&>(container.Factory());
    std::string seen;

    struct SCase {
        const char* what;
        std::function<void()> callback;  // made to run inside the factory
        std::string expected;
    };
    const SCase cases[] = {
        {"Reset from an init method", [&] { seen = Thrown([&] { container.Reset(); }); }, refusedReset},
        {"Reset(text) from an init method", [&] { seen = Thrown([&] { container.Reset(kDocument); }); }, refusedReset},
        {"a shared container built from an init method",
         [&] { seen = Thrown([&] { ZEM::CContainer again("<zem/>", true); }); }, refusedLoad},
        // Private factories load under the same start-up lock: eager bean
        // code that loads one would wait for itself.
        {"a private container built from an eager bean", [&] {
             seen = Thrown([&] { ZEM::CContainer("<zem/>", false); });
         }, "Operation 'load' is not allowed from code that a load is running"},
    };
    for (const SCase& each : cases) {
        SCOPED_TRACE(each.what);
        seen = "not called";
        g_init = each.callback;
        if (std::string(each.what).find("eager") != std::string::npos) {
            ZEM::CContainer(R"(<zem><library><beans><bean class="Hooked" init-method="Init" lazy="false"/></beans></library></zem>)",
                            false);
        } else {
            EXPECT_TRUE(container.GetBean("hooked"));
        }
        EXPECT_EQ(seen, each.expected);
        g_init = nullptr;
        EXPECT_TRUE(container.GetBean("plain")) << "the factory is whole";
    }

    // A service maker, a failure handler, and a release function run by a
    // reset of their own factory.
    seen = "not called";
    container.RegisterService<IHook>([&]() -> std::unique_ptr<ZEM::IObject> {
        seen = Thrown([&] { container.Reset(); });
        return std::make_unique<SHooked>();
    });
    EXPECT_TRUE(container.GetService<IHook>());
    EXPECT_EQ(seen, refusedReset) << "from a service maker";

    ZEM::SetBeanFailureHandler(container.Factory(), [&](const char*, const std::wstring&, const auto&) {
        seen = Thrown([&] { container.Reset(); });
    });
    seen = "not called";
    EXPECT_FALSE(container.GetBean("failing"));
    EXPECT_EQ(seen, refusedReset) << "from a failure handler";
    ZEM::SetBeanFailureHandler(container.Factory(), nullptr);

    std::shared_ptr<ZEM::ITypeRegistration> registration =
        container.RegisterService<IHook>([] { return std::make_unique<SHooked>(); });
    registration->SetSingleton().SetReleaseFunction([&](ZEM::IObject*) { seen = Thrown([&] { factory.ResetFactory(); }); });
    container.GetService<IHook>(1);
    registration.reset();
    seen = "not called";
    container.Reset();
    EXPECT_EQ(seen, refusedReset) << "from a release function that a reset runs";

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

TEST_F(CallbackTest, AReleaseFunctionThatThrowsIsToldAndTheReleaseGoesOn) {
    ZEM::CContainer container(nullptr);
    std::vector<std::wstring> reasons;
    ZEM::SetBeanFailureHandler(container.Factory(), [&](const char*, const std::wstring& reason, const auto&) {
        reasons.push_back(reason);
    });
    int released = 0;
    auto registration = container.RegisterService<IHook>([] { return std::make_unique<SHooked>(); });
    registration->SetReleaseFunction([&](ZEM::IObject*) {
        ++released;
        throw ZEM::CException(L"the device is gone");
    });

    // Dropped by the host: no factory is running, so only the release is seen.
    container.GetService<IHook>().reset();
    EXPECT_EQ(released, 1);
    EXPECT_TRUE(reasons.empty());

    // Dropped inside the factory, by the release of a singleton's instance.
    registration->SetSingleton();
    ZEM::IObject* instance = container.Factory().GetService(ZEM::TypeId<IHook>()).get();
    registration.reset();
    // A pointer that owns nothing, so that the registration's share is the last.
    container.ReleaseInstance(std::shared_ptr<ZEM::IObject>(std::shared_ptr<ZEM::IObject>(), instance));
    EXPECT_EQ(released, 2);
    ASSERT_EQ(reasons.size(), 1u);
    EXPECT_EQ(reasons[0], L"Release function failed: the device is gone");
    ZEM::SetBeanFailureHandler(container.Factory(), nullptr);
}

}  // namespace
