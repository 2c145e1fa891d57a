// Helpers of the configuration reader tests.
#pragma once

#include <string>

#include "config/document_reader.h"
#include "support/records.h"
#include "support/temp_dir.h"

namespace zem_test {

using ZEM::CConfiguration;
using zem_support::BeanNames;
using zem_support::LibraryPaths;
using zem_support::MessageOf;
using zem_support::TempDir;
using Names = std::vector<std::string>;

inline CConfiguration ReadText(const std::string& text) { return ZEM::ReadConfigurationText(nullptr, text.c_str()); }
inline CConfiguration ReadFile(const std::wstring& path) { return ZEM::ReadConfigurationFile(nullptr, path.c_str()); }
inline std::wstring TextMessage(const std::string& text) {
    return MessageOf([&] { ReadText(text); });
}
inline std::wstring FileMessage(const std::wstring& path) {
    return MessageOf([&] { ReadFile(path); });
}

// A document of one library "x.so" whose `beans` element holds `body`.
inline std::string InBeans(const std::string& body) {
    return "<zem><library path='x.so'><beans>" + body + "</beans></library></zem>";
}

// The library record with `path`, or null.
inline const ZEM::SLibrary* FindLibrary(const CConfiguration& configuration, const std::string& path) {
    for (const auto& library : configuration.Store().libraries)
        if (library->path == path) return library.get();
    return nullptr;
}

// The first bean called `name` in any library, or null.
inline const ZEM::SBean* FindBean(const CConfiguration& configuration, const std::string& name) {
    for (const auto& library : configuration.Store().libraries)
        for (const ZEM::SBean& bean : library->beans)
            if (bean.name == name) return &bean;
    return nullptr;
}

}  // namespace zem_test
