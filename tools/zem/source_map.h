// Where each bean definition of a loaded store stands in its files. The
// readers keep no positions, so this walks the parsed files again in the
// readers' own order (includes first, loops expanded, inner beans before
// their holders) and pairs each record of the store with the element it came
// from. Used by lint for line and column, and by list for interface names as
// written.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "config/configuration.h"
#include "xml/xml_document.h"
#include "xml/xml_node.h"

namespace zemcli {

struct SLineColumn {
    int line = 0;  // from 1; 0 when unknown
    int column = 0;
};

// One parsed file, or the text of standard input.
struct SSourceFile {
    std::string path;            // as shown in output
    std::string text;            // the text as the parser saw it, UTF-8
    ZEM::XMLNode root;           // the `zem` element; empty if the parse failed
    ZEM::SXmlParseResult parse;  // error 0 on success
    bool fromInput = false;      // a document given as text: includes have no effect
    std::vector<std::int32_t> lineStarts;

    // Line and column of a byte offset into `text`, counted as the parser
    // counts them: a multi-byte character is one column.
    SLineColumn Locate(std::int32_t offset) const;
};

// A place in a file: the byte offset of an element's '<' or an attribute's name.
struct SSpot {
    const SSourceFile* file = nullptr;
    std::int32_t offset = -1;
};

struct SPropertySpots {
    SSpot at;
    std::vector<SSpot> arguments;  // the element of each value form
};

struct SBeanSpots {
    std::string library;    // the library record the bean joins
    std::string className;  // after the '@' split, to check the pairing
    SSpot at;
    std::vector<SSpot> arguments;
    std::vector<SPropertySpots> properties;
    std::vector<SSpot> dependsOn;
    std::vector<std::string> interfaceNames;  // as written, substituted
};

// Fills `lineStarts` from `text`, stepping through it as the parser does.
void IndexLines(SSourceFile& file);

// Reads `path` as the XML layer reads a file (UTF-16 converted, a byte order
// mark dropped) into `text`. Returns an error code of the XML layer, 0 if read.
std::uint32_t ReadDocumentText(const std::string& path, std::string& text);

class CSourceMap {
public:
    // Walks `file` ("-": standard input, as text) and what it includes.
    void Read(const std::string& file);

    const std::vector<std::unique_ptr<SSourceFile>>& Files() const { return files_; }
    const SSourceFile* MainFile() const { return files_.empty() ? nullptr : files_.front().get(); }

    // Pairs the bean records of `store` with their spots; records that can't
    // be paired stay without. The store must not change afterwards.
    void Attach(const ZEM::CConfigurationStore& store);
    const SBeanSpots* Find(const ZEM::SBean& bean) const;

private:
    SSourceFile* Parse(const std::string& shown, const std::string& opened, bool fromInput);
    void WalkFile(const std::string& path, int depth);
    void WalkRoot(const SSourceFile& file);

    std::vector<std::unique_ptr<SSourceFile>> files_;
    std::map<std::string, SSourceFile*> byPath_;
    std::vector<std::string> open_;  // files being walked, for include cycles
    std::vector<SBeanSpots> beans_;  // reading order
    std::unordered_map<const ZEM::SBean*, const SBeanSpots*> attached_;
};

// Offset of the name of the attribute numbered `index` in the start tag at
// `elementOffset`; the element's own offset if the tag can't be followed.
std::int32_t AttributeOffset(const SSourceFile& file, std::int32_t elementOffset, int index);

}  // namespace zemcli
