// A folder of its own under the system's temporary directory, removed with
// the object, for tests that need real files. Relative paths and the paths
// handed back are UTF-8, whatever the system's encoding of file names is,
// and use '/' only, so that tests read the same on Windows.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

namespace zem_support {

// The file system's path of UTF-8 text, and back in its generic form, with
// '/' as the only separator on every system.
inline std::filesystem::path Utf8Path(const std::string& text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}
inline std::string Utf8Text(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return std::string(text.begin(), text.end());
}

class TempDir {
public:
    TempDir() {
        std::random_device random;
        const std::filesystem::path base = std::filesystem::temp_directory_path();
        for (int attempt = 0; attempt < 100 && root_.empty(); ++attempt) {
            std::filesystem::path candidate = base / ("zem-test-" + std::to_string(random()));
            std::error_code error;
            if (std::filesystem::create_directory(candidate, error)) root_ = candidate;
        }
        if (root_.empty()) throw std::runtime_error("no temporary folder could be made");
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // The path of `relative` ('/'-separated) inside the folder; nothing is made.
    std::string Path(const std::string& relative) const { return Utf8Text(root_ / Utf8Path(relative)); }

    // Writes `bytes` to `relative`, creating its folders; the file's path.
    std::string Write(const std::string& relative, const std::string& bytes) const {
        std::filesystem::path file = root_ / Utf8Path(relative);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out << bytes;
        return Utf8Text(file);
    }

private:
    std::filesystem::path root_;
};

}  // namespace zem_support
