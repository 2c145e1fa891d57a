// Helpers shared by the configuration reader tests: reading a document given
// as text, catching a reader's message, finding records, and a temporary
// folder of real files that is removed with the test.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "config/configuration.h"
#include "config/document_reader.h"
#include "foundation/string_convert.h"
#include "zem/exception.h"

namespace zem_test {

using ZEM::CConfiguration;
using ZEM::SBean;
using ZEM::SLibrary;

inline CConfiguration ReadText(const std::string& text) {
    return ZEM::ReadConfigurationText(nullptr, text.c_str());
}

// The message of the CException that `action` throws; "" if it throws none.
inline std::wstring MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ZEM::CException& e) {
        return e.GetMessageW();
    }
    return L"";
}

inline std::wstring TextMessage(const std::string& text) {
    return MessageOf([&] { ReadText(text); });
}

// The library record with `path`, or null.
inline const SLibrary* FindLibrary(const CConfiguration& configuration, const std::string& path) {
    for (const auto& library : configuration.Store().libraries)
        if (library->path == path) return library.get();
    return nullptr;
}

// The first bean called `name` in any library, or null.
inline const SBean* FindBean(const CConfiguration& configuration, const std::string& name) {
    for (const auto& library : configuration.Store().libraries)
        for (const SBean& bean : library->beans)
            if (bean.name == name) return &bean;
    return nullptr;
}

inline std::vector<std::string> BeanNames(const SLibrary& library) {
    std::vector<std::string> names;
    for (const SBean& bean : library.beans) names.push_back(bean.name);
    return names;
}

inline std::vector<std::string> LibraryPaths(const CConfiguration& configuration) {
    std::vector<std::string> paths;
    for (const auto& library : configuration.Store().libraries) paths.push_back(library->path);
    return paths;
}

// A folder of its own under the system's temporary directory, removed with the test.
class TempFolder {
public:
    TempFolder() : root_(std::filesystem::temp_directory_path() / "zem-config-XXXXXX") {
        std::string pattern = root_.string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        root_ = pattern;
    }
    ~TempFolder() { std::filesystem::remove_all(root_); }
    const std::filesystem::path& Root() const { return root_; }

    // Writes `bytes` to `relative` ('/'-separated), creating its folders.
    std::filesystem::path Write(const std::string& relative, const std::string& bytes) const {
        std::filesystem::path file = root_ / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }
    // The folder as a wide string, with a trailing '/'.
    std::wstring Prefix() const { return ZEM::Widen(root_.string() + "/"); }

private:
    std::filesystem::path root_;
};

}  // namespace zem_test
