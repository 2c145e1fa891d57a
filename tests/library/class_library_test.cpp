// Class libraries: loading and binding at the first need, maker symbols, the
// local library, and this executable as a class library of its own.
#include <sys/stat.h>

#include "fixtures/common/recording_wrapper.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "support/records.h"
#include "support/temp_dir.h"
#include "zem/zem.h"

// Makers this test program exports for a library that names the program itself.
ZEM_RECORDING_MAKER(HostWidget, "HostWidget")

namespace {

using namespace zem_support;

ZEM::IBeanWrapper* MakeLocalWidget() { return MakeRecordingWrapper("LocalWidget"); }
ZEM::IBeanWrapper* MakeLocal() { return MakeRecordingWrapper("Local"); }

class ClassLibraryTest : public RecordingTest {
protected:
    std::size_t LoadedLibraries() { return factory_->Configuration().Store().loadedLibraries.size(); }
};

// The first need binds every bean of the library, in order, asking each
// wrapper about its properties; later needs bind nothing more.
TEST_F(ClassLibraryTest, TheFirstNeedBindsTheWholeLibrary) {
    Load(*factory_, {{RecordingLibrary(),
                      {Bean("a", "Widget").Property("size(i32)", {Arg("int", "1")}), Bean("b", "Gadget"),
                       Bean("c", "Peer")}}});
    EXPECT_FALSE(factory_->Exists("nothing"));
    EXPECT_EQ(LoadedLibraries(), 0u) << "a name that no library holds loads nothing";
    ASSERT_TRUE(factory_->GetBean("b", nullptr));
    EXPECT_EQ(FixtureLog::Take(), (Lines{"maker Widget", "types Widget size(i32)/1", "maker Gadget", "maker Peer",
                                         "create Gadget Gadget [] -> Gadget#1", "~Gadget#1"}));
    EXPECT_TRUE(factory_->Exists("a") && factory_->Exists("c"));
    EXPECT_EQ(LoadedLibraries(), 1u);
    EXPECT_TRUE(FixtureLog::Lines().empty());
}

// An unbound name is looked for in the libraries in order, also once the
// look-ups have an index, and records added later are found too.
TEST_F(ClassLibraryTest, AnUnboundNameBelongsToTheFirstLibraryThatHoldsIt) {
    Load(*factory_, {{"/nonexistent/libfirst.so", {Bean("x", "Widget")}}, {RecordingLibrary(), {Bean("x", "Widget")}}});
    for (const char* absent : {"none", "nothing"}) EXPECT_FALSE(factory_->Exists(absent));
    EXPECT_FALSE(factory_->GetBean("x", nullptr));
    factory_->Configuration().Store().libraries[1]->beans.push_back(Bean("y", "Widget").Record());
    EXPECT_TRUE(factory_->GetBean("y", nullptr));
}

// A missing maker stops the beans behind it; a later binding goes on from it.
TEST_F(ClassLibraryTest, AMissingMakerStopsTheBeansBehindItUntilARetry) {
    Failures failures(*factory_);
    Load(*factory_, {{RecordingLibrary(), {Bean("before", "Widget"), Bean("absent", "Absent"), Bean("behind", "Gadget")}}});
    EXPECT_FALSE(factory_->GetBean("behind", nullptr));
    EXPECT_EQ(failures.Take(), Lines{"behind: Getting wrapper maker failed for class 'Absent'"});
    EXPECT_TRUE(factory_->GetBean("before", nullptr));
    EXPECT_EQ(FixtureLog::Starting("maker "), Lines{"maker Widget"});

    ZEM::GetLocalLibrary().RegisterWrapperMaker("create_Absent_Wrapper", &MakeLocal);
    FixtureLog::Reset();
    EXPECT_TRUE(factory_->GetBean("behind", nullptr));
    EXPECT_EQ(FixtureLog::Starting("maker "), (Lines{"maker Local", "maker Gadget"}));
    EXPECT_EQ(LoadedLibraries(), 1u) << "the retry must reuse the loaded library";
    EXPECT_TRUE(ZEM::GetLocalLibrary().UnregisterWrapperMaker("create_Absent_Wrapper"));
    EXPECT_FALSE(ZEM::GetLocalLibrary().UnregisterWrapperMaker("create_Absent_Wrapper"));
    EXPECT_TRUE(factory_->GetBean("absent", nullptr)) << "a bean bound earlier keeps its maker";
}

// Each "::" of the class name becomes "_", as the kit exports makers (the
// container finds a nested class's maker so: tests/kit/class_library_test.cpp).
TEST_F(ClassLibraryTest, MakerSymbols) {
    for (const auto& [name, symbol] : {std::pair{"Foo", "create_Foo_Wrapper"}, {"a::b::C", "create_a_b_C_Wrapper"},
                                       {"::Top", "create__Top_Wrapper"}, {"a:b", "create_a:b_Wrapper"},
                                       {"a:::b", "create_a_:b_Wrapper"}})
        EXPECT_EQ(ZEM::MakerSymbol(name), symbol);
}

// The local library is keyed by the whole symbol, and a module's own maker
// wins over it. The program's own path, or no or an empty path in a
// document: makers the program exports, then those of the local library.
TEST_F(ClassLibraryTest, LocalMakersAndTheRunningProgram) {
    ZEM::ILibraryConfiguration& local = ZEM::GetLocalLibrary();
    local.RegisterWrapperMaker("Local", &MakeLocal);
    local.RegisterWrapperMaker("create_Widget_Wrapper", &MakeLocalWidget);
    Load(*factory_, {{RecordingLibrary(), {Bean("w", "Widget"), Bean("local", "Local")}}});
    EXPECT_EQ(MessageOf([&] { factory_->Exists("local"); }), L"Getting wrapper maker failed for class 'Local'");
    local.RegisterWrapperMaker("create_Local_Wrapper", &MakeLocal);
    EXPECT_TRUE(factory_->GetBean("local", nullptr));
    Load(*factory_, {{ZEM::platform::ExecutablePath(), {Bean("host", "HostWidget"), Bean("here", "Local")}}});
    ASSERT_TRUE(factory_->GetBean("host", nullptr) && factory_->GetBean("here", nullptr));
    EXPECT_EQ(FixtureLog::Starting("maker "), (Lines{"maker Widget", "maker Local", "maker HostWidget", "maker Local"}));
    for (const char* symbol : {"Local", "create_Local_Wrapper", "create_Widget_Wrapper"})
        EXPECT_TRUE(local.UnregisterWrapperMaker(symbol)) << symbol;

    ZEM::CContainer container(
        "<zem><library><beans><bean name='a' class='HostWidget'/></beans></library>"
        "<library path=''><beans><bean name='b' class='HostWidget' factory-method='alt'/></beans></library></zem>");
    FixtureLog::Reset();
    EXPECT_TRUE(container.GetBean("a") && container.GetBean("b"));
    EXPECT_EQ(FixtureLog::Starting("create "),
              (Lines{"create HostWidget HostWidget [] -> HostWidget#1", "create HostWidget alt [] -> HostWidget#2"}));
}

// A module can register classes and type ids as it loads; a provides element
// loads the bean's library first, so its type ids can be named. Before that,
// on every road, the host's policy is asked with the path as it will be
// opened, and a library it refuses runs nothing.
TEST_F(ClassLibraryTest, AModuleRegistersItsClassesAsItLoadsIfThePolicyAllows) {
    const std::string path = FixturePath("registering");
    const std::string spelt = std::string(ZEM_FIXTURE_DIR) + "/./libregistering.so";
    std::string text = "<zem><library path='" + path +
                       "'><beans><bean name='first' class='Registered'/><bean name='r' class='Registered' singleton='true'>"
                       "<provides><interface>IRegistered</interface></provides></bean></beans></library></zem>";
    struct SDefaultPolicyAtEnd {
        ~SDefaultPolicyAtEnd() { ZEM::SetLibraryPolicy(nullptr); }
    } atEnd;
    Lines asked;
    ZEM::SetLibraryPolicy([&](const char* opened) {
        asked.emplace_back(opened);
        return false;
    });
    const std::wstring refused = ZEM::Widen("Library '" + path + "' is not allowed by the host");
    EXPECT_EQ(MessageOf([&] { ZEM::CContainer(text.c_str()); }), refused);
    const std::string lazy = "<zem><library path='" + path + "'><beans><bean name='first' class='Registered'/></beans>"
                             "</library><library><beans><bean name='at' class='Registered@" + spelt + "'/></beans></library></zem>";
    ZEM::CContainer refusing(lazy.c_str());
    EXPECT_EQ(MessageOf([&] { refusing.Exists("first"); }), refused);
    Failures failures(dynamic_cast<ZEM::CBeanFactoryImpl&>(refusing.Factory()));
    EXPECT_FALSE(refusing.GetBean("at"));
    EXPECT_EQ(failures.Take(), Lines{"at: Library '" + spelt + "' is not allowed by the host"});
    EXPECT_EQ(asked, (Lines{path, path, spelt}));
    EXPECT_TRUE(FixtureLog::Starting("loaded ").empty()) << "the library's initialiser ran";

    ZEM::SetLibraryPolicy(nullptr);
    ZEM::CContainer container(text.c_str());
    EXPECT_EQ(FixtureLog::Starting("loaded "), Lines{"loaded registering"});
    std::shared_ptr<ZEM::IObject> service = container.Factory().GetService("zem.test.IRegistered");
    ASSERT_TRUE(service);
    EXPECT_EQ(container.GetBean("r"), service);
    EXPECT_EQ(std::string(ZEM::LocalLibrary().GetTypeId("IRegistered")), "zem.test.IRegistered");
}

// No file, or no shared object: the load message, with the loader's reason
// for the failure handler, and nothing is kept.
TEST_F(ClassLibraryTest, ALibraryThatCannotBeLoaded) {
    TempDir temp;
    std::string notAModule = temp.Write("libtext.so", "this is not a shared object\n");
    // The loader's own words, whatever system it is.
    auto loaderSays = [](const std::string& path) {
        std::string why;
        EXPECT_EQ(ZEM::platform::LoadModule(path.c_str(), &why), nullptr);
        return " (" + why + ")";
    };
    std::vector<std::pair<std::string, std::string>> cases = {{notAModule, loaderSays(notAModule)},
                                                              {std::string(), " (empty path)"},
                                                              {temp.Path(""), " (not a regular file)"}};
#if !defined(_WIN32)
    // What is no regular file is never opened: a FIFO would block the loader.
    // (Windows has no FIFOs among its files.)
    const std::string fifo = temp.Path("libfifo.so");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    cases.emplace_back(fifo, " (not a regular file)");
#endif
    for (const auto& [path, reason] : cases) {
        SCOPED_TRACE(path);
        auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
        Failures failures(*factory);
        Load(*factory, {{path, {Bean("w", "Widget")}}});
        EXPECT_FALSE(factory->GetBean("w", nullptr));
        EXPECT_EQ(MessageOf([&] { factory->Exists("w"); }), ZEM::Widen("Could not load library '" + path + "'"));
        const Lines told = failures.Take();
        ASSERT_EQ(told.size(), 1u);
        EXPECT_EQ(told[0].rfind("w: Could not load library '" + path + "'" + reason, 0), 0u) << told[0];
        EXPECT_TRUE(factory->Configuration().Store().loadedLibraries.empty());
    }
    // A missing file: each eager bean of it fails alike; a request after the
    // load looks for the library again, and finds it once it is there.
    const std::string later = temp.Path("liblater.so");
    auto factory = std::make_shared<ZEM::CBeanFactoryImpl>();
    Failures failures(*factory);
    Load(*factory, {{later, {Bean("a", "Widget").Eager(), Bean("b", "Widget").Eager()}}});
    const std::string message = ": Could not load library '" + later + "'" + loaderSays(later);
    EXPECT_EQ(failures.Take(), (Lines{"a" + message, "b" + message}));
    std::filesystem::copy_file(RecordingLibrary(), later);
    EXPECT_TRUE(factory->GetBean("b", nullptr));
}

// Two paths of one module are two libraries sharing wrappers by class name.
TEST_F(ClassLibraryTest, TwoPathsOfOneModule) {
    std::string other = std::string(ZEM_FIXTURE_DIR) + "//librecording" ZEM_MODULE_SUFFIX;
    Load(*factory_, {{RecordingLibrary(), {Bean("one", "Widget")}}, {other, {Bean("two", "Widget")}}});
    ASSERT_TRUE(factory_->GetBean("one", nullptr) && factory_->GetBean("two", nullptr));
    EXPECT_EQ(LoadedLibraries(), 2u);
    EXPECT_EQ(factory_->WrapperCount(), 1u);
    EXPECT_EQ(FixtureLog::Starting("maker "), (Lines{"maker Widget", "maker Widget"}));
}

}  // namespace
