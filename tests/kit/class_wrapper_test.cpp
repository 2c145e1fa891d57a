// The wrapper a kit binding becomes, called directly with argument vectors in
// the container's layout, for what the container itself never sends or never
// looks at: vectors that don't fit, null entries for values, objects of
// another class, the exact declared type names, and the wrapper operations
// only hosts call. The behaviour through the container is in the other tests.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kit/entries.h"
#include "kit/kit_test_classes.h"
#include "zem/class.h"

namespace zem_test {
namespace {

using ZEM::IBeanWrapper;
using ZEM::IObject;

std::unique_ptr<IBeanWrapper> Wrap(IBeanWrapper* wrapper) { return std::unique_ptr<IBeanWrapper>(wrapper); }

std::unique_ptr<IObject> Create(const IBeanWrapper& wrapper, const char* method, CEntries entries = {},
                                const char* exitMethod = "") {
    std::vector<std::shared_ptr<IObject>> dependencies;
    return wrapper.CreateInstance(method, entries.Count(), entries.Vector(), nullptr, exitMethod, dependencies);
}

bool Invoke(const IBeanWrapper& wrapper, IObject* object, const char* method, CEntries entries = {}) {
    return wrapper.Invoke(object, method, entries.Count(), entries.Vector());
}

CGadget& AsGadget(const std::unique_ptr<IObject>& object) { return dynamic_cast<CGadget&>(*object); }

class ClassWrapperTest : public ::testing::Test {
protected:
    void SetUp() override { Journal().clear(); }
    std::unique_ptr<IBeanWrapper> gadget_ = Wrap(ZEM::NewWrapper(BindGadget(), "zem_test::Gadget"));
};

TEST_F(ClassWrapperTest, LookupIsByExactNameAndArgumentCount) {
    EXPECT_STREQ(gadget_->GetClassName(), "zem_test::Gadget");
    // The unnamed constructors answer to the last component of the class name only.
    EXPECT_TRUE(gadget_->HasMethod("Gadget", 2));
    EXPECT_FALSE(gadget_->HasMethod("zem_test::Gadget", 0));
    EXPECT_TRUE(gadget_->HasMethod("Resize", 2));
    EXPECT_FALSE(gadget_->HasMethod("Resize", 3));
    EXPECT_FALSE(gadget_->HasMethod("resize", 1));
    EXPECT_EQ(Create(*gadget_, "gadget"), nullptr);
    EXPECT_EQ(Create(*gadget_, nullptr), nullptr);

    auto object = Create(*gadget_, "Gadget");
    EXPECT_FALSE(Invoke(*gadget_, object.get(), nullptr));
    EXPECT_FALSE(Invoke(*gadget_, nullptr, "Start"));
    // An object of another class is refused, not misread.
    CPlain plain;
    EXPECT_FALSE(Invoke(*gadget_, &plain, "Resize", CEntries().Value(1)));
    EXPECT_TRUE(Journal().empty());
}

TEST_F(ClassWrapperTest, ArgumentVectorsThatDontFitAreRefused) {
    auto object = Create(*gadget_, "Gadget");
    std::vector<void*> shorter;
    EXPECT_FALSE(gadget_->Invoke(object.get(), "Resize", 1, nullptr));
    EXPECT_FALSE(gadget_->Invoke(object.get(), "Resize", 1, &shorter));
    std::vector<std::shared_ptr<IObject>> none;
    EXPECT_EQ(gadget_->CreateInstance("Gadget", 1, nullptr, nullptr, "", none), nullptr);
    // A value parameter can't take a reference that found nothing.
    EXPECT_FALSE(Invoke(*gadget_, object.get(), "Resize", CEntries().Missing()));
    EXPECT_FALSE(Invoke(*gadget_, object.get(), "Note", CEntries().Missing()));
    EXPECT_EQ(Create(*gadget_, "Gadget", CEntries().Text("x").Missing()), nullptr);
    EXPECT_EQ(AsGadget(object).Size(), -1);
    EXPECT_TRUE(AsGadget(object).note.empty());
}

TEST_F(ClassWrapperTest, DataMembersAndFreeFunctionsActAsMethods) {
    auto object = Create(*gadget_, "Gadget", CEntries().Text("g").Value(10));
    EXPECT_TRUE(Invoke(*gadget_, object.get(), "Note", CEntries().Text("kept")));
    EXPECT_EQ(AsGadget(object).note, "kept");
    EXPECT_TRUE(Invoke(*gadget_, object.get(), "Adjust", CEntries().Value(5)));
    EXPECT_EQ(AsGadget(object).Size(), 15);
    // The function's false is the method's false.
    EXPECT_FALSE(Invoke(*gadget_, object.get(), "Adjust", CEntries().Value(0)));
}

TEST_F(ClassWrapperTest, DeclaredTypesComeFromTheSignature) {
    auto types = [](const IBeanWrapper& wrapper, const char* method, std::size_t count) {
        std::vector<std::string> names;
        wrapper.GetArgumentTypes(method, count, names);
        return names;
    };
    EXPECT_EQ(types(*gadget_, "Resize", 2), (std::vector<std::string>{"int", "int"}));
    EXPECT_EQ(types(*gadget_, "Resize", 0), std::vector<std::string>{});
    EXPECT_EQ(types(*gadget_, "Note", 1), std::vector<std::string>{"const char*"});
    // Unknown: nothing, so that the container refuses the property at binding.
    EXPECT_EQ(types(*gadget_, "Resize", 3), std::vector<std::string>{});

    struct SExpected {
        std::unique_ptr<IBeanWrapper> wrapper;
        const char* name;
    } expected[] = {
        {Wrap(ZEM::NewWrapper(BindHolder<bool>(), "H")), "bool"},
        {Wrap(ZEM::NewWrapper(BindHolder<char>(), "H")), "char"},
        {Wrap(ZEM::NewWrapper(BindHolder<signed char>(), "H")), "int8_t"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::uint8_t>(), "H")), "unsigned char"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::int16_t>(), "H")), "short"},
        {Wrap(ZEM::NewWrapper(BindHolder<unsigned short>(), "H")), "unsigned short"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::int32_t>(), "H")), "int"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::uint32_t>(), "H")), "unsigned int"},
        {Wrap(ZEM::NewWrapper(BindHolder<float>(), "H")), "float"},
        {Wrap(ZEM::NewWrapper(BindHolder<const double&>(), "H")), "double"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::string_view>(), "H")), "const char*"},
        {Wrap(ZEM::NewWrapper(BindHolder<const std::wstring&>(), "H")), "const wchar_t*"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::shared_ptr<const IMarker>>(), "H")), "nullptr"},
    };
    for (const SExpected& e : expected) {
        SCOPED_TRACE(e.name);
        EXPECT_EQ(types(*e.wrapper, "Value", 1), std::vector<std::string>{e.name});
    }
}

TEST_F(ClassWrapperTest, FinalClassCantCarryAnExitMethod) {
    auto sealed = Wrap(ZEM::NewWrapper(BindSealed(), "Sealed"));
    EXPECT_EQ(Create(*sealed, "Sealed", {}, "Stop"), nullptr);
    EXPECT_NE(Create(*sealed, "Sealed"), nullptr);
}

TEST_F(ClassWrapperTest, LaterEntryOfOneNameAndCountReplacesTheEarlier) {
    auto wrapper = Wrap(ZEM::NewWrapper(
        ZEM::CClass<CGadget>().Constructor<>().Method("Go", &CGadget::Start).Method("Go", &CGadget::Stop),
        "Gadget"));
    auto object = Create(*wrapper, "Gadget");
    EXPECT_TRUE(Invoke(*wrapper, object.get(), "Go"));
    EXPECT_EQ(Journal(), std::vector<std::string>{"stop default size -1"});
}

}  // namespace
}  // namespace zem_test
