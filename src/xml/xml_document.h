// The front of the XML layer: a file or a text becomes a tree, with the root
// element chosen by name, and the outcome as an error code with a position.
// Nothing here throws; the configuration reader words the messages.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "xml/xml_node.h"

namespace ZEM {

enum EXmlError : std::uint32_t {
    XmlNoError = 0,
    XmlMissingEndTag = 1,
    XmlNoTagFound = 2,
    XmlEmptyFile = 3,
    XmlMissingTagName = 4,
    XmlMissingEndTagName = 5,
    XmlUnmatchedEndTag = 6,
    XmlUnterminatedClear = 7,
    XmlUnexpectedToken = 8,
    XmlNoInput = 9,
    XmlFileNotFound = 10,
    XmlRootNotFound = 11,
    XmlUnknownEntity = 12,
    XmlCodeAbove255 = 13,
    XmlConversionFailed = 14,
    XmlTooDeep = 15,      // nesting beyond kXmlMaxDepth
    XmlFileTooLarge = 16, // a file beyond the size the parser takes
    XmlOutOfMemory = 17,  // memory ran out while the file was read or the tree built
    XmlNotRegularFile = 18, // a FIFO, a device or a directory
};

// Elements nested deeper than this fail with XmlTooDeep.
constexpr int kXmlMaxDepth = 1000;

struct SXmlParseResult {
    std::uint32_t error = 0;
    std::int32_t line = 0;    // from 1; 0 when the error has no position
    std::int32_t column = 0;  // in characters, from 1
    // The names behind an end tag that did not fit, for tools that explain
    // the error: the end tag's name (empty at the end of the text) and the
    // element that was open.
    std::string endTag;
    std::string openElement;
};

// Reads the file at `path` (UTF-8 or UTF-16 LE) and parses it. `rootName` may
// be null or empty. On failure the result is the empty node.
XMLNode ParseFile(const char* path, const char* rootName, SXmlParseResult* result);

// The same for the `size` bytes of a file already read into `buffer`, which
// has room for four more bytes behind them (they become zeros). `parsedText`,
// if given, receives a copy of the UTF-8 text that the parser read, to which
// the tree's source offsets refer.
XMLNode ParseFileContent(unsigned char* buffer, std::size_t size, const char* rootName, SXmlParseResult* result,
                         std::string* parsedText = nullptr);

// The same for zero-terminated UTF-8 text in memory.
XMLNode ParseText(const char* text, const char* rootName, SXmlParseResult* result);

// The same for `length` bytes of UTF-8 with a zero behind them, for a caller
// that knows the length; a zero byte among them ends the text there, as it
// would for ParseText. `stop`, if given, receives where the parser stopped:
// text + length after a parse that read every byte, so that none of them was
// a zero.
XMLNode ParseText(const char* text, std::size_t length, const char* rootName, SXmlParseResult* result,
                  const char** stop = nullptr);

}  // namespace ZEM
