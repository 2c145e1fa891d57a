// The wrapper a kit binding becomes, called directly for what the container
// never sends or never looks at.
#include <gtest/gtest.h>

#include "kit/kit_test_classes.h"

namespace zem_test {
namespace {

using ZEM::IBeanWrapper;
using ZEM::IObject;
using Names = std::vector<std::string>;

std::unique_ptr<IBeanWrapper> Wrap(IBeanWrapper* wrapper) { return std::unique_ptr<IBeanWrapper>(wrapper); }

// No arguments come as a null vector, as the container sends them.
std::unique_ptr<IObject> Create(const IBeanWrapper& wrapper, const char* method, std::vector<void*> args = {},
                                const char* exitMethod = "") {
    std::vector<std::shared_ptr<IObject>> dependencies;
    return wrapper.CreateInstance(method, args.size(), args.empty() ? nullptr : &args, nullptr, exitMethod,
                                  dependencies);
}
bool Invoke(const IBeanWrapper& wrapper, IObject* object, const char* method, std::vector<void*> args = {}) {
    return wrapper.Invoke(object, method, args.size(), args.empty() ? nullptr : &args);
}

Names Types(const IBeanWrapper& wrapper, const char* method, std::size_t count) {
    Names names;
    wrapper.GetArgumentTypes(method, count, names);
    return names;
}
template <class P>
Names DeclaredTypes() {
    return Types(*Wrap(ZEM::NewWrapper(BindHolder<P>(), "H")), "Value", 1);
}

TEST(ClassWrapperTest, RefusesWhatDoesntFit) {
    Journal().clear();
    auto gadget = Wrap(ZEM::NewWrapper(BindGadget(), "zem_test::Gadget"));
    // The unnamed constructors answer to the last component of the class name only.
    EXPECT_TRUE(gadget->HasMethod("Gadget", 2));
    EXPECT_FALSE(gadget->HasMethod("zem_test::Gadget", 0));
    EXPECT_FALSE(gadget->HasMethod("resize", 1));
    auto object = Create(*gadget, "Gadget");
    std::vector<void*> shorter;
    EXPECT_FALSE(gadget->Invoke(object.get(), "Resize", 1, &shorter));
    EXPECT_FALSE(Invoke(*gadget, nullptr, "Start"));
    // An object of another class is refused, not misread.
    int one = 1;
    CPlain plain;
    EXPECT_FALSE(Invoke(*gadget, &plain, "Resize", {&one}));
    // A value parameter can't take a reference that found nothing.
    EXPECT_FALSE(Invoke(*gadget, object.get(), "Resize", {nullptr}));
    EXPECT_FALSE(Invoke(*gadget, object.get(), "Note", {nullptr}));
    const char* text = "x";
    EXPECT_EQ(Create(*gadget, "Gadget", {&text, nullptr}), nullptr);
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

// The names a configuration uses for each parameter type; none for a method
// the class doesn't have, so that the container refuses it at binding.
TEST(ClassWrapperTest, DeclaredTypesComeFromTheSignature) {
    auto gadget = Wrap(ZEM::NewWrapper(BindGadget(), "zem_test::Gadget"));
    EXPECT_EQ(Types(*gadget, "Resize", 2), (Names{"int", "int"}));
    EXPECT_EQ(Types(*gadget, "Note", 1), Names{"const char*"});
    EXPECT_EQ(Types(*gadget, "Resize", 3), Names{});
    EXPECT_EQ(DeclaredTypes<signed char>(), Names{"int8_t"});
    EXPECT_EQ(DeclaredTypes<std::uint8_t>(), Names{"unsigned char"});
    EXPECT_EQ(DeclaredTypes<std::int16_t>(), Names{"short"});
    EXPECT_EQ(DeclaredTypes<std::uint32_t>(), Names{"unsigned int"});
    EXPECT_EQ(DeclaredTypes<const double&>(), Names{"double"});
    EXPECT_EQ(DeclaredTypes<std::string_view>(), Names{"const char*"});
    EXPECT_EQ(DeclaredTypes<const std::wstring&>(), Names{"const wchar_t*"});
    EXPECT_EQ(DeclaredTypes<std::shared_ptr<const IMarker>>(), Names{"nullptr"});
}

}  // namespace
}  // namespace zem_test
