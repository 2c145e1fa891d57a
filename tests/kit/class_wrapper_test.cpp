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
using Names = std::vector<std::string>;

std::unique_ptr<IBeanWrapper> Wrap(IBeanWrapper* wrapper) { return std::unique_ptr<IBeanWrapper>(wrapper); }

std::unique_ptr<IObject> Create(const IBeanWrapper& wrapper, const char* method, CEntries entries = {},
                                const char* exitMethod = "") {
    std::vector<std::shared_ptr<IObject>> dependencies;
    return wrapper.CreateInstance(method, entries.Count(), entries.Vector(), nullptr, exitMethod, dependencies);
}

bool Invoke(const IBeanWrapper& wrapper, IObject* object, const char* method, CEntries entries = {}) {
    return wrapper.Invoke(object, method, entries.Count(), entries.Vector());
}

Names Types(const IBeanWrapper& wrapper, const char* method, std::size_t count) {
    Names names;
    wrapper.GetArgumentTypes(method, count, names);
    return names;
}

class ClassWrapperTest : public ::testing::Test {
protected:
    void SetUp() override { Journal().clear(); }
    std::unique_ptr<IBeanWrapper> gadget_ = Wrap(ZEM::NewWrapper(BindGadget(), "zem_test::Gadget"));
};

TEST_F(ClassWrapperTest, RefusesWhatDoesntFit) {
    // The unnamed constructors answer to the last component of the class name only.
    EXPECT_TRUE(gadget_->HasMethod("Gadget", 2));
    EXPECT_FALSE(gadget_->HasMethod("zem_test::Gadget", 0));
    EXPECT_FALSE(gadget_->HasMethod("resize", 1));
    auto object = Create(*gadget_, "Gadget");
    std::vector<void*> shorter;
    EXPECT_FALSE(gadget_->Invoke(object.get(), "Resize", 1, &shorter));
    EXPECT_FALSE(Invoke(*gadget_, nullptr, "Start"));
    // An object of another class is refused, not misread.
    CPlain plain;
    EXPECT_FALSE(Invoke(*gadget_, &plain, "Resize", CEntries().Value(1)));
    // A value parameter can't take a reference that found nothing.
    EXPECT_FALSE(Invoke(*gadget_, object.get(), "Resize", CEntries().Missing()));
    EXPECT_FALSE(Invoke(*gadget_, object.get(), "Note", CEntries().Missing()));
    EXPECT_EQ(Create(*gadget_, "Gadget", CEntries().Text("x").Missing()), nullptr);
    EXPECT_EQ(dynamic_cast<CGadget&>(*object).Size(), -1);
    // A final class can't carry an exit method.
    auto sealed = Wrap(ZEM::NewWrapper(BindSealed(), "Sealed"));
    EXPECT_EQ(Create(*sealed, "Sealed", {}, "Stop"), nullptr);
    EXPECT_NE(Create(*sealed, "Sealed"), nullptr);
    // A later entry of one name and count replaces the earlier.
    auto wrapper = Wrap(ZEM::NewWrapper(
        ZEM::CClass<CGadget>().Constructor<>().Method("Go", &CGadget::Start).Method("Go", &CGadget::Stop), "Gadget"));
    EXPECT_TRUE(Invoke(*wrapper, Create(*wrapper, "Gadget").get(), "Go"));
    EXPECT_EQ(Journal(), (Names{"stop default size -1", "~default"}));
}

TEST_F(ClassWrapperTest, DeclaredTypesComeFromTheSignature) {
    EXPECT_EQ(Types(*gadget_, "Resize", 2), (Names{"int", "int"}));
    EXPECT_EQ(Types(*gadget_, "Note", 1), Names{"const char*"});
    // Unknown: nothing, so that the container refuses the property at binding.
    EXPECT_EQ(Types(*gadget_, "Resize", 3), Names{});
    const struct {
        std::unique_ptr<IBeanWrapper> wrapper;
        const char* name;
    } expected[] = {
        {Wrap(ZEM::NewWrapper(BindHolder<signed char>(), "H")), "int8_t"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::uint8_t>(), "H")), "unsigned char"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::int16_t>(), "H")), "short"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::uint32_t>(), "H")), "unsigned int"},
        {Wrap(ZEM::NewWrapper(BindHolder<const double&>(), "H")), "double"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::string_view>(), "H")), "const char*"},
        {Wrap(ZEM::NewWrapper(BindHolder<const std::wstring&>(), "H")), "const wchar_t*"},
        {Wrap(ZEM::NewWrapper(BindHolder<std::shared_ptr<const IMarker>>(), "H")), "nullptr"},
    };
    for (const auto& e : expected) {
        SCOPED_TRACE(e.name);
        EXPECT_EQ(Types(*e.wrapper, "Value", 1), Names{e.name});
    }
}

}  // namespace
}  // namespace zem_test
