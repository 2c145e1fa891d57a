// XMLNode, the handle: sharing and releasing records, look-ups by name
// ignoring case, the accessors for tools, and the building operations on
// strings from malloc (the parser builds through xml_node_data.h directly).
#include "xml/xml_node.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/text.h"
#include "xml/xml_node_data.h"

namespace ZEM {

namespace {

using xml_detail::Release;
using xml_detail::Retain;

// Strings handed to the public building operations come from malloc; the tree
// keeps its own copy in the arena, a name as CopyName makes it.
char* Adopt(CXmlArena* arena, char* text, bool isName = false) {
    if (text == nullptr) return nullptr;
    struct SFree {
        char* text;
        ~SFree() { std::free(text); }
    } owned{text};
    const std::size_t length = std::strlen(text);
    return isName ? arena->CopyName(text, length) : arena->CopyString(text, length);
}

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

bool XMLNode::IsDeclaration() const noexcept { return data_ != nullptr && xml_detail::IsDeclaration(data_); }

XMLNode XMLNode::CreateNode(char* name, SXmlNodeData* parent, bool isDeclaration) {
    if (parent != nullptr) {
        char* copy = Adopt(parent->arena, name, true);
        SXmlNodeData* node = xml_detail::NewRecord(parent->arena, copy, parent, isDeclaration);
        parent->arena->AddHandle();
        return XMLNode(node);
    }
    CXmlArena* arena = nullptr;
    try {
        arena = CXmlArena::Create();
        char* owned = name;
        name = nullptr;
        char* copy = Adopt(arena, owned, true);
        SXmlNodeData* node = xml_detail::NewRecord(arena, copy, nullptr, isDeclaration);
        arena->AddHandle();
        return XMLNode(node);
    } catch (...) {
        std::free(name);
        if (arena != nullptr) arena->Destroy();  // no record lives in it yet
        throw;
    }
}

XMLNode XMLNode::AddChild(char* name, bool isDeclaration) {
    if (data_ == nullptr || name == nullptr) {
        std::free(name);
        return XMLNode();
    }
    char* copy = Adopt(data_->arena, name, true);
    SXmlNodeData* child = xml_detail::AppendChild(data_, copy, isDeclaration);
    Retain(child);
    return XMLNode(child);
}

void XMLNode::AddAttribute(char* name, char* value) {
    if (data_ == nullptr || name == nullptr) {
        std::free(name);
        std::free(value);
        return;
    }
    char* nameCopy = nullptr;
    try {
        nameCopy = Adopt(data_->arena, name, true);
    } catch (...) {
        std::free(value);
        throw;
    }
    char* valueCopy = Adopt(data_->arena, value);
    xml_detail::AppendAttribute(data_, nameCopy, valueCopy);
}

void XMLNode::AddText(char* text) {
    if (data_ == nullptr || text == nullptr) {
        std::free(text);
        return;
    }
    xml_detail::AppendText(data_, Adopt(data_->arena, text));
}

void XMLNode::AddClear(char* text, const SXmlClearMark* mark) {
    if (data_ == nullptr || text == nullptr || mark == nullptr || text[0] == '\0') {
        std::free(text);
        return;
    }
    xml_detail::AppendClear(data_, Adopt(data_->arena, text), mark);
}

void XMLNode::RemoveClear(int index) {
    if (data_ != nullptr) xml_detail::RemoveClearAt(data_, index);
}

void XMLNode::Shrink() {
    if (data_ != nullptr) xml_detail::ShrinkRecord(data_);
}

const XMLNode& EmptyXmlNode() noexcept { return kEmptyNode; }

}  // namespace ZEM
