// The part of the container fuzz targets that follows the document: a few
// classes bound with the kit on the local library, with every kind of
// parameter (numbers, text, wide text, objects of two unrelated classes) in
// constructors, factory methods and properties, and the bean requests a host
// would make of a container built from the fuzzed document. Any type name may
// meet any parameter: the container compares them before a call.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zem/class.h"
#include "zem/container.h"
#include "zem/exception.h"

namespace zem_fuzz {

struct IThing {
    virtual ~IThing() = default;
};

class CBox;

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
    void SetBox(std::shared_ptr<CBox> box) { box_ = std::move(box); }
    void SetCodes(unsigned char code, float ratio, bool flag, char letter, std::uint32_t count, std::string_view tag) {
        label_.assign(tag);
        label_ += static_cast<char>(code + letter + flag);
        weight = ratio + count;
    }
    bool Open() const { return size_ >= 0; }
    void Close() { label_.clear(); }

    double weight = 0;
    int id = 0;  // "SetName" lands here: a number reads safely whatever it is given

private:
    std::string label_;
    int size_ = 0;
    std::shared_ptr<ZEM::IObject> next_;
    std::shared_ptr<CBox> box_;
};

// A holder of other beans and wide text; also a factory of parts.
class CBox : public ZEM::IObject, public IThing {
public:
    CBox() = default;
    CBox(std::shared_ptr<IThing> first, const wchar_t* title) : first_(std::move(first)), title_(title ? title : L"") {}

    static std::unique_ptr<CPart> MakePart(int size) { return std::make_unique<CPart>(size); }

    void Add(std::shared_ptr<ZEM::IObject> item, bool keep) {
        if (keep) items_.push_back(std::move(item));
    }
    void SetPart(std::shared_ptr<CPart> part, const std::wstring& title) {
        items_.push_back(std::move(part));
        title_ = title;
    }
    bool Seal() const { return !title_.empty(); }

private:
    std::shared_ptr<IThing> first_;
    std::wstring title_;
    std::vector<std::shared_ptr<ZEM::IObject>> items_;
};

inline ZEM::CClass<CPart> BindPart() {
    return ZEM::CClass<CPart>()
        .Constructor<>()
        .Constructor<int>()
        .Constructor<const std::string&, int>("Labelled")
        .Constructor<int, std::shared_ptr<CPart>>()
        .Property("Size", &CPart::SetSize)
        .Property("Next", &CPart::SetNext)
        .Property("Box", &CPart::SetBox)
        .Property("Codes", &CPart::SetCodes)
        .Property("Weight", &CPart::weight)
        .Property("SetName", &CPart::id)
        .Method("Open", &CPart::Open)
        .Method("Close", &CPart::Close);
}

inline ZEM::CClass<CBox> BindBox() {
    return ZEM::CClass<CBox>()
        .Constructor<>()
        .Constructor<std::shared_ptr<IThing>, const wchar_t*>()
        .Factory("MakePart", &CBox::MakePart)
        .Method("Add", &CBox::Add)
        .Property("Part", &CBox::SetPart)
        .Method("Seal", &CBox::Seal);
}

inline void RegisterClasses() {
    ZEM::RegisterClass<&BindPart>("Part");
    ZEM::RegisterClass<&BindBox>("shop::Box");
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
