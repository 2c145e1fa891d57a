// Loading a document: the file is read whole, made UTF-8, parsed, and the
// element asked for is handed back as the root. The outcome is a code with a
// line and column; the configuration reader turns it into a message.
#include "xml/xml_document.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "platform/file.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "xml/xml_parser.h"

namespace ZEM {

namespace {

// Positions in the parser and in the tree are 32-bit signed.
constexpr std::size_t kMaxTextSize = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - 4;

XMLNode Fail(SXmlParseResult* result, std::uint32_t error) {
    if (result != nullptr) *result = SXmlParseResult{error, 0, 0, {}, {}};
    return XMLNode();
}

struct SBufferFree {
    void operator()(unsigned char* buffer) const { std::free(buffer); }
};

}  // namespace

XMLNode ParseFile(const char* path, const char* rootName, SXmlParseResult* result) {
    if (result != nullptr) result->line = result->column = 0;
    platform::CInputFile file;
    switch (file.Open(path)) {
        case platform::CInputFile::Opened: break;
        case platform::CInputFile::NotRegular: return Fail(result, XmlNotRegularFile);
        default: return Fail(result, XmlFileNotFound);
    }
    if (file.Size() == 0) return Fail(result, XmlEmptyFile);
    if (file.Size() > kMaxTextSize) return Fail(result, XmlFileTooLarge);
    const auto size = static_cast<std::size_t>(file.Size());
    std::unique_ptr<unsigned char, SBufferFree> buffer(static_cast<unsigned char*>(std::malloc(size + 4)));
    if (buffer == nullptr) return Fail(result, XmlOutOfMemory);
    std::size_t read = 0;
    if (!file.Read(buffer.get(), size, read)) return Fail(result, XmlFileNotFound);
    return ParseFileContent(buffer.get(), read, rootName, result);
}

XMLNode ParseFileContent(unsigned char* buffer, std::size_t read, const char* rootName, SXmlParseResult* result,
                         std::string* parsedText) {
    if (result != nullptr) result->line = result->column = 0;
    if (read == 0) return Fail(result, XmlEmptyFile);
    if (read > kMaxTextSize) return Fail(result, XmlFileTooLarge);
    std::memset(buffer + read, 0, 4);

    // UTF-8 is tried first: a text that the parser reads to its end holds no
    // zero byte, so it can't be UTF-16, and needs no scan of its own. Only a
    // parse that stops early, on a zero or an error, asks.
    const unsigned char* bytes = buffer;
    const bool byteOrderMark = read >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
    if (!byteOrderMark) {
        const std::size_t skip = read >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF ? 3 : 0;
        const char* stop = nullptr;
        XMLNode parsed = ParseText(reinterpret_cast<const char*>(bytes) + skip, read - skip, rootName, result, &stop);
        if (stop == reinterpret_cast<const char*>(bytes) + read || !platform::LooksLikeUtf16(bytes, read)) {
            if (parsedText != nullptr) parsedText->assign(reinterpret_cast<const char*>(bytes) + skip, read - skip);
            return parsed;
        }
    }
    std::size_t skip = 0;
    if (read >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xEF && bytes[1] == 0xFF))) skip = 2;
    std::string converted;
    try {
        // The zero bytes behind the text end it, also after an odd byte.
        platform::EncodeUtf16Le(bytes + skip, (read - skip + 1) / 2, converted);
    } catch (const std::bad_alloc&) {
        return Fail(result, XmlConversionFailed);
    }
    if (converted.size() > kMaxTextSize) return Fail(result, XmlFileTooLarge);
    XMLNode parsed = ParseText(converted.c_str(), converted.size(), rootName, result);
    if (parsedText != nullptr) *parsedText = std::move(converted);
    return parsed;
}

XMLNode ParseText(const char* text, const char* rootName, SXmlParseResult* result) {
    if (text == nullptr) return Fail(result, XmlNoInput);
    return ParseText(text, std::strlen(text), rootName, result);
}

namespace {

XMLNode ParseTextWith(const char* text, std::size_t length, const char* rootName, SXmlParseResult* result,
                      const char** stop, bool tokensOnly) {
    if (stop != nullptr) *stop = nullptr;
    if (text == nullptr) return Fail(result, XmlNoInput);

    SXmlParseState state;
    state.tokensOnly = tokensOnly;
    XMLNode current;
    try {
        XMLNode top = XMLNode::CreateTop();
        state.text = text;
        // The parser stops at the first zero byte, wherever it is.
        state.end = text + length;
        state.cursor = text;
        state.pendingText = text;
        state.atStart = true;
        state.arena = top.Data()->arena;
        ParseElement(top.Data(), state);

        if (top.ChildCount() == 0) state.error = XmlNoTagFound;
        // A lone element at the top level is the document; the top node goes,
        // the element lives on.
        if (top.ChildCount() == 1 && top.TextCount() == 0 && top.ClearCount() == 0 && top.AttributeCount() == 0) {
            current = top.ChildAtIndex(0);
        } else {
            current = std::move(top);
        }
    } catch (const std::bad_alloc&) {
        return Fail(result, XmlOutOfMemory);
    }
    if (stop != nullptr) *stop = state.cursor;
    // The names go into the result now, while the tree that holds them lives.
    std::string endTag, openElement;
    if (result != nullptr && (state.error == XmlMissingEndTag || state.error == XmlUnmatchedEndTag)) {
        endTag = state.error == XmlUnmatchedEndTag ? std::string(state.endTag, state.endTagLength)
                                                   : state.mismatchedEndTag;
        if (state.unclosed != nullptr && state.unclosed->name != nullptr) openElement = state.unclosed->name;
    }

    if (state.error > XmlNoTagFound) {
        current = XMLNode();
    } else if (rootName != nullptr && rootName[0] != '\0' &&
               (current.Name() == nullptr || platform::CompareNoCase(current.Name(), rootName) != 0)) {
        current = current.NextChild(rootName);
        if (current.IsEmpty()) return Fail(result, XmlRootNotFound);
    }

    if (result != nullptr) {
        *result = SXmlParseResult{state.error, 0, 0, std::move(endTag), std::move(openElement)};
        if (state.error != XmlNoError) {
            const char* at = state.error == XmlMissingEndTag ? state.missingEndTag : state.cursor;
            XmlLocate(text, at, result->line, result->column);
        }
    }
    return current;
}

}  // namespace

XMLNode ParseText(const char* text, std::size_t length, const char* rootName, SXmlParseResult* result,
                  const char** stop) {
    return ParseTextWith(text, length, rootName, result, stop, false);
}

XMLNode ParseTextByTokens(const char* text, std::size_t length, const char* rootName, SXmlParseResult* result) {
    return ParseTextWith(text, length, rootName, result, nullptr, true);
}

}  // namespace ZEM
