// Classes bound with the kit for its tests; their events go to one journal.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "zem/class.h"

namespace zem_test {

// What happened to the objects of these classes, in order.
inline std::vector<std::string>& Journal() {
    static std::vector<std::string> events;
    return events;
}

// What a holder keeps of a parameter of type P: text is copied.
template <class P, class D = std::remove_cvref_t<P>>
using Owned = std::conditional_t<
    std::is_same_v<D, const char*> || std::is_same_v<D, std::string_view>, std::string,
    std::conditional_t<std::is_same_v<D, const wchar_t*> || std::is_same_v<D, std::wstring_view>,
                       std::wstring, D>>;

// One parameter of type P through a constructor and through a setter.
template <class P>
class CHolder : public ZEM::IObject {
public:
    CHolder() = default;
    explicit CHolder(P value) : constructed(Own(value)) {}
    void Set(P value) { assigned = Own(value); }

    Owned<P> constructed{};
    Owned<P> assigned{};

private:
    static Owned<P> Own(const std::remove_cvref_t<P>& value) {
        if constexpr (std::is_pointer_v<std::remove_cvref_t<P>>)
            return value == nullptr ? Owned<P>() : Owned<P>(value);
        else
            return Owned<P>(value);
    }
};

template <class P>
ZEM::CClass<CHolder<P>> BindHolder() {
    return ZEM::CClass<CHolder<P>>().template Constructor<>().template Constructor<P>().Property(
        "Value", &CHolder<P>::Set);
}

// An interface and two classes, to see shared_ptr arguments cast.
struct IMarker {
    virtual ~IMarker() = default;
};
struct CMarker : ZEM::IObject, IMarker {
    explicit CMarker(std::string) {}
};
class CPlain : public ZEM::IObject {};

inline ZEM::CClass<CMarker> BindMarker() { return ZEM::CClass<CMarker>().Constructor<std::string>(); }
inline ZEM::CClass<CPlain> BindPlain() { return ZEM::CClass<CPlain>().Constructor<>(); }

// A class with overloads by count, a lifecycle and members that fail.
class CGadget : public ZEM::IObject {
public:
    CGadget() : label_("default") {}
    explicit CGadget(std::string label) : label_(std::move(label)) {}
    CGadget(std::string label, int size) : label_(std::move(label)), size_(size) {}
    CGadget(int width, int height, bool fail) : label_("risky"), size_(width * height) {
        if (fail) throw std::runtime_error("constructor refused");
    }
    ~CGadget() override { Journal().push_back("~" + label_); }

    static std::unique_ptr<CGadget> Make(const std::string& label) { return std::make_unique<CGadget>(label + "*"); }
    static CGadget* MakeRaw(int size) { return new CGadget("raw", size); }

    void Resize(int size) { size_ = size; }
    void Resize(int width, int height) { size_ = width * height; }
    void Start() { Journal().push_back("start " + label_); }
    bool Check() const { return size_ >= 0; }
    void Stop() { Journal().push_back("stop " + label_ + " size " + std::to_string(size_)); }
    void Explode() { throw std::logic_error("method refused"); }

    const std::string& Label() const { return label_; }
    int Size() const { return size_; }

    std::string note;  // set as a data member

private:
    std::string label_;
    int size_ = -1;
};

inline bool AdjustGadget(CGadget& gadget, int delta) {
    gadget.Resize(gadget.Size() + delta);
    return delta != 0;
}

inline ZEM::CClass<CGadget> BindGadget() {
    return ZEM::CClass<CGadget>()
        .Constructor<>()
        .Constructor<std::string>()
        .Constructor<const std::string&, int>()
        .Constructor<int, int, bool>("Risky")
        .Factory("Make", &CGadget::Make)
        .Factory("MakeRaw", &CGadget::MakeRaw)
        .Method<void(int)>("Resize", &CGadget::Resize)
        .Method<void(int, int)>("Resize", &CGadget::Resize)
        .Method("Start", &CGadget::Start)
        .Method("Check", &CGadget::Check)
        .Method("Stop", &CGadget::Stop)
        .Method("Explode", &CGadget::Explode)
        .Property("Note", &CGadget::note)
        .Property("Adjust", &AdjustGadget);
}

// A class that can't carry an exit method.
class CSealed final : public ZEM::IObject {
public:
    void Stop() {}
};

inline ZEM::CClass<CSealed> BindSealed() {
    return ZEM::CClass<CSealed>().Constructor<>().Method("Stop", &CSealed::Stop);
}

}  // namespace zem_test
