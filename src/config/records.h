// The plain records of a configuration: what the readers fill from a document
// and what the factory's store keeps. An empty string stands for a value that
// was not given.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ZEM {

// Where the element behind a record stands: the number of its file among
// those its load read, in the order they were opened (0 for the main file or
// a text), and the byte offset of its '<' in the text as parsed, -1 if
// unknown. Tools turn it into line and column; the library only keeps it.
struct SSourceSpot {
    std::uint32_t file = 0;
    std::int32_t offset = -1;
};

// One value of a constructor argument or a property.
struct SArgument {
    std::string type;    // a type name, or "bean", "service", "nullptr"
    std::string value;   // UTF-8: the text, a bean name, an interface class name, or empty
    SSourceSpot spot;    // the element of the value form that was read
};

// One property to inject; a finished record has at least one argument.
struct SProperty {
    std::string name;
    std::vector<SArgument> arguments;
    SSourceSpot spot;
};

// One bean definition.
struct SBean {
    std::string name;
    std::string className;      // as written, less any "@library" part; may hold "::"
    std::string factoryMethod;  // short name of the method that makes the object
    std::vector<SArgument> arguments;
    std::string initMethod;
    std::string exitMethod;
    std::vector<std::string> interfaces;  // type ids, not class names
    std::vector<SProperty> properties;
    std::vector<std::string> dependsOn;
    bool singleton = false;
    bool exported = true;
    bool autoname = false;
    bool lazy = true;
    std::string factoryBean;
    SSourceSpot spot;
    std::vector<SSourceSpot> dependsOnSpots;  // one per dependsOn entry
};

// One class library as a configuration names it. Beans live by value: no one
// may keep the address of one across an addition to the library.
struct SLibrary {
    std::string path;     // the identity of the library, compared byte for byte
    std::string written;  // the path as the document wrote it, before %zem:dir% is replaced
    std::vector<SBean> beans;
    // The beans before this position are bound in the store that holds the
    // record, so that binding goes on behind them without a look at each.
    std::size_t boundCount = 0;
};

}  // namespace ZEM
