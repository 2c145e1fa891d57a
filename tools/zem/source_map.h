// Where the records of a loaded store stand in their files. The readers note
// for every bean, argument, property and dependency the number of its file
// and the offset of its element; the load tells this map of each document it
// parses, so that those spots become a file with line and column. Used by
// lint for positions, and by list for interface names as written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "config/configuration.h"
#include "substitution/reading.h"
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
    ZEM::XMLNode root;           // the `zem` element, if the map keeps trees
    bool fromInput = false;      // a document given as text: includes have no effect
    // Filled by IndexLines, or by the first Locate: most files are never asked.
    mutable std::vector<std::int32_t> lineStarts;

    // Line and column of a byte offset into `text`, counted as the parser
    // counts them: a multi-byte character is one column.
    SLineColumn Locate(std::int32_t offset) const;
};

// Locate for offsets asked in rising order, as a sorted report asks: each
// column is counted on from the one before on the same line, so that many
// places on one long line cost one pass over it.
class CLocator {
public:
    explicit CLocator(const SSourceFile& file) : file_(file) {}
    const SSourceFile& File() const { return file_; }
    SLineColumn Locate(std::int32_t offset);

private:
    const SSourceFile& file_;
    std::int32_t offset_ = -1;  // the place asked last, and where it is
    SLineColumn at_;
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
    std::string library;  // the library record the bean joined
    SSpot at;
    std::vector<SSpot> arguments;
    std::vector<SPropertySpots> properties;
    std::vector<SSpot> dependsOn;
    std::vector<std::string> interfaceNames;  // the class names the type ids were registered for, or the ids
};

// Fills `lineStarts` from `text`, stepping through it as the parser does.
void IndexLines(const SSourceFile& file);

class CSourceMap {
public:
    // From now on `reading` tells this map of every document it parses; the
    // map must outlive the load. `fromInput`: the load reads standard input.
    void Listen(ZEM::CReading& reading, bool fromInput);
    // Keeps each document's tree beside its text, for a walk over its
    // elements after the load; without it the trees end with the load.
    void KeepTrees() { keepTrees_ = true; }

    // Each file once, in the order it was first read.
    const std::vector<std::unique_ptr<SSourceFile>>& Files() const { return files_; }
    const SSourceFile* MainFile() const { return files_.empty() ? nullptr : files_.front().get(); }

    // Gives the bean records of `store` their spots. The store must not
    // change afterwards.
    void Attach(const ZEM::CConfigurationStore& store);
    const SBeanSpots* Find(const ZEM::SBean& bean) const;

private:
    void Add(std::uint32_t number, const std::wstring& path, std::string text, const ZEM::XMLNode& root);
    SSpot SpotOf(const ZEM::SSourceSpot& spot) const;

    bool fromInput_ = false;
    bool keepTrees_ = false;
    std::vector<std::unique_ptr<SSourceFile>> files_;
    std::vector<const SSourceFile*> byNumber_;  // a file read twice has two numbers
    std::unordered_map<const ZEM::SBean*, SBeanSpots> attached_;
};

// Offsets of the names of all attributes of the start tag at
// `elementOffset`, in order; fewer where the tag can't be followed.
std::vector<std::int32_t> AttributeOffsets(const SSourceFile& file, std::int32_t elementOffset);

}  // namespace zemcli
