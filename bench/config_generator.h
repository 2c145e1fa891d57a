// Configuration documents of any size for the benchmarks: one library whose
// beans element holds `beans` bean definitions, each with attributes, one or
// two constructor arguments (a value, and for every other bean a reference to
// the bean before it), and a property whose value holds entities. The text is
// the same for the same count and options, so figures from different runs
// compare.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "foundation/string_convert.h"

// What may vary between documents of one count. The defaults give the text
// of GenerateConfiguration(beans), which the load benchmarks read.
struct SGeneratorOptions {
    // The library's `path`; none writes a `library` without one, which names
    // the running program.
    std::optional<std::string> libraryPath = "libservices.so";
    // Every bean lazy="false"; otherwise every tenth.
    bool allEager = false;
};

inline std::string GenerateConfiguration(int beans, const SGeneratorOptions& options) {
    std::string out;
    out.reserve(static_cast<std::size_t>(beans) * 560 + 512);
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += "<!-- Generated configuration with " + std::to_string(beans) + " beans. -->\n";
    out += "<zem>\n";
    out += options.libraryPath ? "  <library path=\"" + *options.libraryPath + "\">\n" : "  <library>\n";
    out += "    <beans>\n";
    for (int i = 0; i < beans; ++i) {
        const std::string n = std::to_string(i);
        out += "      <bean name=\"service" + n + "\" class=\"app::services::Service" + std::to_string(i % 97) +
               "\" singleton=\"true\" lazy=\"" + (options.allEager || i % 10 == 0 ? "false" : "true") +
               "\" init-method=\"Start\">\n";
        out += "        <constructor-arg>\n";
        out += "          <argument><value type=\"int\">" + n + "</value></argument>\n";
        if (i % 2 == 1) {
            out += "          <argument><ref bean=\"service" + std::to_string(i - 1) + "\"/></argument>\n";
        }
        out += "        </constructor-arg>\n";
        out += "        <properties>\n";
        out += "          <property name=\"Description\">\n";
        out += "            <value type=\"const char*\">Service " + n + " &amp; friends &lt;v" + n +
               "&gt; &quot;default&quot;</value>\n";
        out += "          </property>\n";
        out += "        </properties>\n";
        out += "      </bean>\n";
    }
    out += "    </beans>\n";
    out += "  </library>\n";
    out += "</zem>\n";
    return out;
}

inline std::string GenerateConfiguration(int beans) { return GenerateConfiguration(beans, SGeneratorOptions{}); }

// Generated documents, written once per size into a temporary folder of their
// own that goes with this object.
class CGeneratedDocuments {
public:
    CGeneratedDocuments(const char* prefix, SGeneratorOptions options) : options_(std::move(options)) {
        std::string pattern = (std::filesystem::temp_directory_path() / (std::string(prefix) + "-XXXXXX")).string();
        if (::mkdtemp(pattern.data()) != nullptr) root_ = pattern;
    }
    ~CGeneratedDocuments() {
        std::error_code ignored;
        if (!root_.empty()) std::filesystem::remove_all(root_, ignored);
    }
    CGeneratedDocuments(const CGeneratedDocuments&) = delete;
    CGeneratedDocuments& operator=(const CGeneratedDocuments&) = delete;

    // The path of the document of `beans` beans; empty if it can't be written.
    const std::wstring& PathFor(int beans) {
        auto found = paths_.find(beans);
        if (found != paths_.end()) return found->second;
        std::wstring& path = paths_[beans];
        if (root_.empty()) return path;
        std::filesystem::path file = root_ / ("beans-" + std::to_string(beans) + ".xml");
        std::ofstream out(file, std::ios::binary);
        out << GenerateConfiguration(beans, options_);
        if (out.good()) path = ZEM::Widen(file.string());
        return path;
    }

private:
    SGeneratorOptions options_;
    std::filesystem::path root_;
    std::map<int, std::wstring> paths_;
};
