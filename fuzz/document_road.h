// The part of the container fuzz targets that follows the document: a few
// classes bound with the kit on the local library (text, numbers, bean
// references, a property, an init method that fails), and the bean requests
// a host would make of a container built from the fuzzed document.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <cstring>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "foundation/kt_string.h"
#include "types/value_pointer.h"
#include "zem/class.h"
#include "zem/container.h"
#include "zem/exception.h"

namespace zem_fuzz {

struct IThing {
    virtual ~IThing() = default;
};

// Made from nothing, a number, a label and a number, or a number and another
// part; its init method "Open" fails for a negative size.
class CPart : public ZEM::IObject, public IThing {
public:
    CPart() = default;
    explicit CPart(int size) : size_(size) {}
    CPart(const std::string& label, int size) : label_(label), size_(size) {}
    CPart(int size, std::shared_ptr<CPart> next) : size_(size), next_(std::move(next)) {}

    void SetSize(int size) { size_ = size; }
    void SetNext(std::shared_ptr<ZEM::IObject> next) { next_ = std::move(next); }
    bool Open() const { return size_ >= 0; }
    void Close() { label_.clear(); }

    double weight = 0;
    int id = 0;  // "SetName" lands here: a number reads safely whatever it is given

private:
    std::string label_;
    int size_ = 0;
    std::shared_ptr<ZEM::IObject> next_;
};

inline ZEM::CClass<CPart> BindPart() {
    return ZEM::CClass<CPart>()
        .Constructor<>()
        .Constructor<int>()
        .Constructor<const std::string&, int>("Labelled")
        .Constructor<int, std::shared_ptr<CPart>>()
        .Property("Size", &CPart::SetSize)
        .Property("Next", &CPart::SetNext)
        .Property("Weight", &CPart::weight)
        .Property("SetName", &CPart::id)
        .Method("Open", &CPart::Open)
        .Method("Close", &CPart::Close);
}

// A holder of other beans and wide text; also a factory of parts.
class CBox : public ZEM::IObject, public IThing {
public:
    CBox() = default;
    CBox(std::shared_ptr<IThing> first, const wchar_t* title) : first_(std::move(first)), title_(title ? title : L"") {}

    static std::unique_ptr<CPart> MakePart(int size) { return std::make_unique<CPart>(size); }

    void Add(std::shared_ptr<ZEM::IObject> item, bool keep) {
        if (keep) items_.push_back(std::move(item));
    }
    bool Seal() const { return !title_.empty(); }

private:
    std::shared_ptr<IThing> first_;
    std::wstring title_;
    std::vector<std::shared_ptr<ZEM::IObject>> items_;
};

inline ZEM::CClass<CBox> BindBox() {
    return ZEM::CClass<CBox>()
        .Constructor<>()
        .Constructor<std::shared_ptr<IThing>, const wchar_t*>()
        .Factory("MakePart", &CBox::MakePart)
        .Method("Add", &CBox::Add)
        .Method("Seal", &CBox::Seal);
}

// The container does not compare a value's type in the document with the
// parameter that reads it: a class that reads an int as a pointer crashes, as
// documented. That is the class's risk, not the document road's, so the kit
// wrappers sit behind this one, which makes a call only when every argument
// is of the kind its parameter reads: 'i' int, 'd' double, 'b' bool, 's'
// narrow text, 'w' wide text, 'o' an object reference, 'n' anything (a number
// read from any argument is safe).
struct SSignature {
    const char* name;
    const char* kinds;
};

const std::vector<SSignature>& Signatures(const std::string& className);

// The holder of an argument, whose value sits right behind its vtable pointer
// (checked at start-up).
inline const ZEM::IValuePointer& HolderOf(void* entry) {
    return *reinterpret_cast<const ZEM::IValuePointer*>(static_cast<char*>(entry) - sizeof(void*));
}

inline bool Fits(char kind, void* entry) {
    if (kind == 'n' || entry == nullptr) return true;  // the kit refuses a missing value itself
    const ZEM::IValuePointer& holder = HolderOf(entry);
    const std::type_info& type = typeid(holder);
    switch (kind) {
        case 'i': return type == typeid(ZEM::CValuePointer<int>);
        case 'd': return type == typeid(ZEM::CValuePointer<double>);
        case 'b': return type == typeid(ZEM::CValuePointer<bool>);
        case 's': return type == typeid(ZEM::CValuePointer<::KtStr>);
        case 'w': return type == typeid(ZEM::CValuePointer<::KtWStr>);
        case 'o':
            return type == typeid(ZEM::CBeanPointer) || type == typeid(ZEM::CServicePointer) ||
                   type == typeid(ZEM::CNullPointer);
        default: return false;
    }
}

class CCheckedWrapper final : public ZEM::IBeanWrapper {
public:
    CCheckedWrapper(ZEM::IBeanWrapper* inner, const std::vector<SSignature>& signatures)
        : inner_(inner), signatures_(signatures) {}

    const char* GetClassName() const override { return inner_->GetClassName(); }
    std::unique_ptr<ZEM::IObject> CreateInstance(const char* method, std::size_t argCount, std::vector<void*>* args,
                                                 std::shared_ptr<const ZEM::IBeanWrapper> wrapper,
                                                 const char* exitMethod,
                                                 std::vector<std::shared_ptr<ZEM::IObject>>& dependencies) const override {
        if (!Accepts(method, argCount, args)) return nullptr;
        return inner_->CreateInstance(method, argCount, args, std::move(wrapper), exitMethod, dependencies);
    }
    bool Invoke(ZEM::IObject* object, const char* method, std::size_t argCount,
                std::vector<void*>* args) const override {
        return Accepts(method, argCount, args) && inner_->Invoke(object, method, argCount, args);
    }
    bool HasMethod(const char* method, std::size_t argCount) const override {
        return inner_->HasMethod(method, argCount);
    }
    void GetArgumentTypes(const char* method, std::size_t argCount, std::vector<std::string>& types) const override {
        inner_->GetArgumentTypes(method, argCount, types);
    }

private:
    // A call the table doesn't know is refused: the kit might know it.
    bool Accepts(const char* method, std::size_t argCount, const std::vector<void*>* args) const {
        if (method == nullptr || (argCount > 0 && (args == nullptr || args->size() < argCount))) return false;
        for (const SSignature& signature : signatures_) {
            if (std::string_view(signature.kinds).size() != argCount || std::strcmp(signature.name, method) != 0)
                continue;
            for (std::size_t i = 0; i < argCount; ++i)
                if (!Fits(signature.kinds[i], (*args)[i])) return false;
            return true;
        }
        return false;
    }

    std::unique_ptr<ZEM::IBeanWrapper> inner_;
    const std::vector<SSignature>& signatures_;
};

// Every entry of the kit bindings above, by class.
inline const std::vector<SSignature>& Signatures(const std::string& className) {
    static const std::vector<SSignature> kPart{{"Part", ""},      {"Part", "i"},    {"Labelled", "si"},
                                               {"Part", "io"},    {"Size", "i"},    {"Next", "o"},
                                               {"Weight", "d"},   {"SetName", "n"}, {"Open", ""},
                                               {"Close", ""}};
    static const std::vector<SSignature> kBox{{"Box", ""},   {"Box", "ow"}, {"MakePart", "i"},
                                              {"Add", "ob"}, {"Seal", ""}};
    return className == "Part" ? kPart : kBox;
}

template <auto Binder>
ZEM::IBeanWrapper* CheckedMaker(const char* className) {
    return new CCheckedWrapper(ZEM::NewWrapper(Binder(), className), Signatures(className));
}
inline ZEM::IBeanWrapper* MakePart() { return CheckedMaker<BindPart>("Part"); }
inline ZEM::IBeanWrapper* MakeBox() { return CheckedMaker<BindBox>("shop::Box"); }

template <class T>
void CheckLayout(T&& holder) {
    if (static_cast<char*>(holder.GetValue()) != reinterpret_cast<char*>(&holder) + sizeof(void*)) std::abort();
}

inline void RegisterClasses() {
    CheckLayout(ZEM::CValuePointer<int>(0));
    CheckLayout(ZEM::CValuePointer<bool>(false));
    CheckLayout(ZEM::CValuePointer<double>(0));
    CheckLayout(ZEM::CValuePointer<::KtStr>(::KtStr()));
    CheckLayout(ZEM::CValuePointer<::KtWStr>(::KtWStr()));
    CheckLayout(ZEM::CNullPointer());
    ZEM::GetLocalLibrary().RegisterWrapperMaker(ZEM::kit::MakerSymbol("Part"), &MakePart);
    ZEM::GetLocalLibrary().RegisterWrapperMaker(ZEM::kit::MakerSymbol("shop::Box"), &MakeBox);
    ZEM::RegisterInterface<IThing>("IThing");
}

// The requests of a host: the beans the seeds and the dictionary name, some
// twice (a singleton comes back, a prototype is made again), and the services.
inline void RequestBeans(const ZEM::CContainer& container) {
    static const char* const kNames[] = {"a", "b", "c", "part", "box", "0", "1", "a", "part"};
    for (const char* name : kNames) {
        container.GetBean(name);
        try {
            container.Exists(name);
        } catch (const ZEM::CException&) {
        }
    }
    for (std::uint32_t i = 0, n = container.GetServiceCount<IThing>(); i < n && i < 4; ++i)
        container.GetService<IThing>(i);
}

}  // namespace zem_fuzz
