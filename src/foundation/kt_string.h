// KtStrT: the reference-counted string with copy on write used by the reader,
// the parameter map and the store. Its only data member is the pointer to its
// zero-terminated characters, so the address of a KtStrT can be read as the
// address of a `const Ch*` (this is how string values reach a wrapper).
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "zem/exception.h"

namespace kt_detail {

// Header that stands in front of the characters of every string.
struct SStrRep {
    std::atomic<std::int32_t> refs;
    std::int32_t length;
    std::int32_t capacity;  // characters that fit, terminator not counted
};

// The shared representation of every empty string; never freed.
struct SEmptyRep {
    SStrRep rep;
    wchar_t chars[2];
};
extern SEmptyRep g_emptyRep;
// The empty characters must sit right behind the header, as in every other rep.
static_assert(offsetof(SEmptyRep, chars) == sizeof(SStrRep));
// Length and capacity are the header's last eight bytes: they stand right in
// front of the characters and change only in a string's unshared rep.
static_assert(sizeof(SStrRep) - offsetof(SStrRep, length) == 8);

}  // namespace kt_detail

template <class Ch>
class KtStrT {
public:
    // A failure of the string layer, by type alone.
    class CException : public IException {
    public:
        std::unique_ptr<IException> Clone() const override {
            return std::make_unique<CException>(*this);
        }
    };

    using value_type = Ch;
    static constexpr std::int32_t kMaxLength = INT32_MAX - 64;

    KtStrT() noexcept : chars_(EmptyChars()) {}
    KtStrT(const Ch* text) : chars_(EmptyChars()) {  // null gives ""
        if (text != nullptr) Assign(text, Length(text));
    }
    KtStrT(const Ch* text, std::size_t length) : chars_(EmptyChars()) {
        if (text != nullptr && length > 0) Assign(text, length);
    }
    KtStrT(std::basic_string_view<Ch> text) : KtStrT(text.data(), text.size()) {}
    KtStrT(const std::basic_string<Ch>& text) : KtStrT(text.data(), text.size()) {}
    KtStrT(const KtStrT& other) noexcept : chars_(other.chars_) { AddRef(); }
    KtStrT(KtStrT&& other) noexcept : chars_(other.chars_) { other.chars_ = EmptyChars(); }
    ~KtStrT() { Release(); }

    KtStrT& operator=(const KtStrT& other) noexcept {
        if (chars_ != other.chars_) {
            other.AddRef();
            Release();
            chars_ = other.chars_;
        }
        return *this;
    }
    KtStrT& operator=(KtStrT&& other) noexcept {
        if (this != &other) {
            Release();
            chars_ = other.chars_;
            other.chars_ = EmptyChars();
        }
        return *this;
    }

    // Bytes that may be read right in front of c_str(), in every string: a
    // word that ends inside the text can be loaded whole (the hash does so).
    static constexpr std::size_t kReadableBefore = 8;

    const Ch* c_str() const noexcept { return chars_; }
    std::int32_t Length() const noexcept { return Rep()->length; }
    bool IsEmpty() const noexcept { return Rep()->length == 0; }
    Ch operator[](std::int32_t index) const { return chars_[index]; }
    std::basic_string_view<Ch> View() const noexcept {
        return {chars_, static_cast<std::size_t>(Rep()->length)};
    }
    std::basic_string<Ch> ToStd() const { return std::basic_string<Ch>(View()); }

    // Index of the first `c` at or after `from`, or -1.
    std::int32_t Find(Ch c, std::int32_t from = 0) const noexcept {
        std::int32_t length = Length();
        for (std::int32_t i = from < 0 ? 0 : from; i < length; ++i)
            if (chars_[i] == c) return i;
        return -1;
    }

    KtStrT Mid(std::int32_t from, std::int32_t count) const {
        CheckRange(from, count);
        return KtStrT(chars_ + from, static_cast<std::size_t>(count));
    }

    KtStrT& Append(const Ch* text, std::size_t length) {
        if (length == 0) return *this;
        std::int32_t old = Length();
        CheckGrowth(old, length);
        if (!std::less<const Ch*>()(text, chars_) && !std::less<const Ch*>()(chars_ + old, text)) {
            // `text` points into this string, which may move while it grows.
            std::basic_string<Ch> copy(text, length);
            return Append(copy.data(), copy.size());
        }
        Reserve(old + static_cast<std::int32_t>(length));
        std::memcpy(chars_ + old, text, length * sizeof(Ch));
        SetLength(old + static_cast<std::int32_t>(length));
        return *this;
    }
    KtStrT& Append(const KtStrT& other) { return Append(other.chars_, other.Length()); }
    KtStrT& Append(Ch c) { return Append(&c, 1); }
    KtStrT& operator+=(const KtStrT& other) { return Append(other); }

    // Inserts `text` at `at` (0 to Length()).
    void Insert(std::int32_t at, const KtStrT& text) {
        std::int32_t old = Length();
        if (at < 0 || at > old) throw std::out_of_range("KtStrT::Insert");
        std::int32_t add = text.Length();
        if (add == 0) return;
        CheckGrowth(old, static_cast<std::size_t>(add));
        KtStrT keep(text);
        Reserve(old + add);
        std::memmove(chars_ + at + add, chars_ + at, static_cast<std::size_t>(old - at) * sizeof(Ch));
        std::memcpy(chars_ + at, keep.chars_, static_cast<std::size_t>(add) * sizeof(Ch));
        SetLength(old + add);
    }

    // Removes `count` characters from `at`.
    void Erase(std::int32_t at, std::int32_t count) {
        CheckRange(at, count);
        if (count == 0) return;
        std::int32_t old = Length();
        MakeUnique();
        std::memmove(chars_ + at, chars_ + at + count,
                     static_cast<std::size_t>(old - at - count) * sizeof(Ch));
        SetLength(old - count);
    }

    // Writable access; detaches a shared representation first.
    Ch* Buffer() {
        MakeUnique();
        return chars_;
    }

    friend bool operator==(const KtStrT& a, const KtStrT& b) noexcept {
        return a.chars_ == b.chars_ || a.View() == b.View();
    }
    friend bool operator==(const KtStrT& a, const Ch* b) noexcept {
        return b != nullptr ? a.View() == std::basic_string_view<Ch>(b) : a.IsEmpty();
    }

private:
    static std::size_t Length(const Ch* text) noexcept {
        return std::char_traits<Ch>::length(text);
    }
    static Ch* EmptyChars() noexcept {
        return reinterpret_cast<Ch*>(kt_detail::g_emptyRep.chars);
    }
    kt_detail::SStrRep* Rep() const noexcept {
        return reinterpret_cast<kt_detail::SStrRep*>(chars_) - 1;
    }
    bool IsShared() const noexcept { return chars_ == EmptyChars() || Rep()->refs.load() > 1; }

    void AddRef() const noexcept {
        if (chars_ != EmptyChars()) Rep()->refs.fetch_add(1, std::memory_order_relaxed);
    }
    void Release() noexcept {
        if (chars_ == EmptyChars()) return;
        if (Rep()->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            Rep()->~SStrRep();
            ::operator delete(static_cast<void*>(Rep()));
        }
        chars_ = EmptyChars();
    }

    static Ch* Allocate(std::int32_t capacity) {
        std::size_t bytes = sizeof(kt_detail::SStrRep) + (static_cast<std::size_t>(capacity) + 1) * sizeof(Ch);
        void* memory = ::operator new(bytes);
        auto* rep = new (memory) kt_detail::SStrRep{{1}, 0, capacity};
        Ch* chars = reinterpret_cast<Ch*>(rep + 1);
        chars[0] = Ch(0);
        return chars;
    }

    void Assign(const Ch* text, std::size_t length) {
        if (length > static_cast<std::size_t>(kMaxLength)) throw std::length_error("KtStrT");
        if (length == 0) {  // every empty string shares the static rep
            Release();
            return;
        }
        Ch* chars = Allocate(static_cast<std::int32_t>(length));
        std::memcpy(chars, text, length * sizeof(Ch));
        Release();
        chars_ = chars;
        SetLength(static_cast<std::int32_t>(length));
    }

    // Makes room for `capacity` characters in an unshared representation.
    void Reserve(std::int32_t capacity) {
        if (!IsShared() && Rep()->capacity >= capacity) return;
        std::int32_t length = Length();
        std::int32_t grown = capacity;
        if (!IsShared() && capacity < kMaxLength / 2) grown = capacity + capacity / 2;
        Ch* chars = Allocate(grown);
        std::memcpy(chars, chars_, static_cast<std::size_t>(length) * sizeof(Ch));
        Release();
        chars_ = chars;
        SetLength(length);
    }
    void MakeUnique() {
        if (IsShared() && chars_ != EmptyChars()) Reserve(Length());
    }
    void SetLength(std::int32_t length) noexcept {
        Rep()->length = length;
        chars_[length] = Ch(0);
    }
    void CheckRange(std::int32_t at, std::int32_t count) const {
        if (at < 0 || count < 0 || at > Length() || count > Length() - at)
            throw std::out_of_range("KtStrT");
    }
    static void CheckGrowth(std::int32_t old, std::size_t add) {
        if (add > static_cast<std::size_t>(kMaxLength - old)) throw std::length_error("KtStrT");
    }

    Ch* chars_;
};

using KtStr = KtStrT<char>;
using KtWStr = KtStrT<wchar_t>;

static_assert(sizeof(KtStr) == sizeof(const char*), "a string is one pointer");
static_assert(sizeof(KtWStr) == sizeof(const wchar_t*), "a string is one pointer");
