// A folder of its own under the system's temporary directory, removed with
// the object, for tests that need real files.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace zem_support {

class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zem-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        root_ = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    // The path of `relative` ('/'-separated) inside the folder; nothing is made.
    std::string Path(const std::string& relative) const { return (root_ / relative).string(); }

    // Writes `bytes` to `relative`, creating its folders; the file's path.
    std::string Write(const std::string& relative, const std::string& bytes) const {
        std::filesystem::path file = root_ / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out << bytes;
        return file.string();
    }

private:
    std::filesystem::path root_;
};

}  // namespace zem_support
