// XMLNode, the handle: sharing and releasing records, look-ups by name
// ignoring case, and the accessors for tools. The parser builds the records
// through xml_node_data.h.
#include "xml/xml_node.h"

#include <array>
#include <cstring>

#include "platform/text.h"
#include "xml/xml_node_data.h"

namespace ZEM {

namespace {

using xml_detail::Release;
using xml_detail::Retain;

bool SameName(const char* stored, const char* wanted) {
    return stored != nullptr && platform::EqualNoCase(stored, wanted);
}

// A child's name is compared only when its length is that of the wanted one;
// most names are written in the case they are asked for.
[[gnu::always_inline]] inline bool SameName(const SXmlNodeData* child, const char* wanted, std::size_t wantedLength) {
    return child->name != nullptr && CXmlArena::NameLength(child->name) == wantedLength &&
           (XmlSameBytes(child->name, wanted, wantedLength) || platform::EqualNoCase(child->name, wanted));
}

const XMLNode kEmptyNode;

}  // namespace

XMLNode::XMLNode(const XMLNode& other) noexcept : data_(other.data_) {
    if (data_ != nullptr) Retain(data_);
}

XMLNode::XMLNode(XMLNode&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }

XMLNode& XMLNode::operator=(const XMLNode& other) noexcept {
    if (data_ == other.data_) return *this;
    if (other.data_ != nullptr) Retain(other.data_);
    if (data_ != nullptr) Release(data_);
    data_ = other.data_;
    return *this;
}

XMLNode& XMLNode::operator=(XMLNode&& other) noexcept {
    if (this == &other) return *this;
    SXmlNodeData* old = data_;
    data_ = other.data_;
    other.data_ = nullptr;
    if (old != nullptr) Release(old);
    return *this;
}

XMLNode::~XMLNode() {
    if (data_ != nullptr) Release(data_);
}

const char* XMLNode::Name() const noexcept { return data_ != nullptr ? data_->name : nullptr; }

int XMLNode::ChildCount(const char* name) const noexcept {
    if (data_ == nullptr || name == nullptr) return 0;
    const std::size_t length = std::strlen(name);
    SXmlNodeData* const* children = xml_detail::Children(data_);
    int count = 0;
    for (std::int32_t i = 0; i < data_->childCount; ++i) {
        if (SameName(children[i], name, length)) ++count;
    }
    return count;
}

XMLNode XMLNode::NextChild(const char* name, std::int32_t* position) const noexcept {
    if (data_ == nullptr || name == nullptr) return XMLNode();
    const std::size_t length = std::strlen(name);
    std::int32_t start = position != nullptr && *position > 0 ? *position : 0;
    SXmlNodeData* const* children = xml_detail::Children(data_);
    for (std::int32_t i = start; i < data_->childCount; ++i) {
        SXmlNodeData* child = children[i];
        if (SameName(child, name, length)) {
            if (position != nullptr) *position = i + 1;
            Retain(child);
            return XMLNode(child);
        }
    }
    return XMLNode();
}

XMLNode XMLNode::ChildAt(const char* name, std::int32_t position) const noexcept {
    if (data_ == nullptr || name == nullptr) return XMLNode();
    const std::size_t length = std::strlen(name);
    SXmlNodeData* const* children = xml_detail::Children(data_);
    SXmlNodeData* found = nullptr;
    if (position < 0) {
        for (std::int32_t i = data_->childCount - 1; i >= 0 && found == nullptr; --i) {
            if (SameName(children[i], name, length)) found = children[i];
        }
    } else {
        for (std::int32_t i = 0; i < data_->childCount && found == nullptr; ++i) {
            if (SameName(children[i], name, length) && position-- == 0) found = children[i];
        }
    }
    if (found == nullptr) return XMLNode();
    Retain(found);
    return XMLNode(found);
}

const char* XMLNode::AttributeValue(const char* name, std::int32_t* position) const noexcept {
    if (data_ == nullptr || name == nullptr) return nullptr;
    std::int32_t start = position != nullptr && *position > 0 ? *position : 0;
    // Names mostly differ in their first byte: that one is compared first,
    // ignoring case where it is a letter.
    const auto first = static_cast<unsigned char>(name[0]);
    const bool letter = (first | 0x20) >= 'a' && (first | 0x20) <= 'z';
    const unsigned char mask = letter ? 0x20 : 0;
    const unsigned char folded = first | mask;
    for (std::int32_t i = start; i < data_->attributeCount; ++i) {
        const SXmlAttribute& attribute = xml_detail::Attributes(data_)[i];
        if ((static_cast<unsigned char>(attribute.name[0]) | mask) != folded) continue;
        if (SameName(attribute.name, name)) {
            if (position != nullptr) *position = i + 1;
            return attribute.value;
        }
    }
    return nullptr;
}

const char* XMLNode::Text(std::int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->textCount) return nullptr;
    return xml_detail::Texts(data_)[index];
}

int XMLNode::ChildCount() const noexcept { return data_ != nullptr ? data_->childCount : 0; }

XMLNode XMLNode::ChildAtIndex(int index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->childCount) return XMLNode();
    Retain(xml_detail::Children(data_)[index]);
    return XMLNode(xml_detail::Children(data_)[index]);
}

int XMLNode::AttributeCount() const noexcept { return data_ != nullptr ? data_->attributeCount : 0; }

const char* XMLNode::AttributeNameAt(int index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount) return nullptr;
    return xml_detail::Attributes(data_)[index].name;
}

const char* XMLNode::AttributeValueAt(int index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount) return nullptr;
    return xml_detail::Attributes(data_)[index].value;
}

int XMLNode::TextCount() const noexcept { return data_ != nullptr ? data_->textCount : 0; }

int XMLNode::ClearCount() const noexcept { return data_ != nullptr ? data_->clearCount : 0; }

std::int32_t XMLNode::SourceOffset() const noexcept { return data_ != nullptr ? data_->sourceOffset : -1; }

XMLNode XMLNode::CreateTop() {
    CXmlArena* arena = CXmlArena::Create();
    SXmlNodeData* node = xml_detail::NewRecord(arena, nullptr, nullptr, false);  // fits the arena's first block
    arena->AddHandle();
    return XMLNode(node);
}

const XMLNode& EmptyXmlNode() noexcept { return kEmptyNode; }

namespace xml_detail {

namespace {

template <std::uint32_t Kind>
constexpr std::array<std::uint32_t, kXmlSharedOrderSize> MakeSharedOrder() {
    std::array<std::uint32_t, kXmlSharedOrderSize> order{};
    for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i * 4 + Kind;
    return order;
}

}  // namespace

const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlChildOrder = MakeSharedOrder<XmlOrderChild>();
const std::array<std::uint32_t, kXmlSharedOrderSize> kXmlTextOrder = MakeSharedOrder<XmlOrderText>();

void ReleaseLast(SXmlNodeData* node) noexcept {
    CXmlArena* arena = node->arena;
    arena->DropHandle();
    if (--node->refCount > 0) return;
    // A record whose parent lives is held by the parent's entry, so a record
    // that no one holds any longer has no parent.
    if (arena->Handles() == 0) {
        // No handle is left on any record of the tree, so every record still
        // alive hangs below this one and goes with it: the arena goes whole.
        arena->Destroy();
        return;
    }
    // Records to destroy are chained through `parent`, which a dead record no
    // longer needs; this keeps the release of a deep tree off the stack.
    SXmlNodeData* pending = node;
    while (pending != nullptr) {
        SXmlNodeData* dead = pending;
        pending = dead->parent;
        SXmlNodeData* const* children = Children(dead);
        for (std::int32_t i = 0; i < dead->childCount; ++i) {
            SXmlNodeData* child = children[i];
            child->parent = nullptr;
            if (--child->refCount == 0) {
                child->parent = pending;
                pending = child;
            }
        }
        // Strings and the record itself belong to the arena, which lets go of
        // its blocks with its last record.
        dead->arena->ReleaseRecord();
    }
}

}  // namespace xml_detail

}  // namespace ZEM
