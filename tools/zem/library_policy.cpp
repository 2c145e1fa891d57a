// The tool's library policies: none at all, or folders compared after both
// sides are resolved, so that "..", "." and links lead nowhere else.
#include "library_policy.h"

#include <string>
#include <vector>

#include "library/policy.h"
#include "platform/files.h"
#include "zem/policy.h"

namespace zemcli {

namespace {

// The path with links, "." and ".." resolved; empty if it doesn't exist.
std::string Resolved(const char* path, bool* missing = nullptr) {
    return ZEM::platform::ResolvedPath(path, missing);
}

bool IsUnder(const std::string& path, const std::string& folder) {
    if (folder == "/") return true;
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/';
}

}  // namespace

void RefuseEveryLibrary() { ZEM::SetReadingWithoutLibraries(true); }

void ApplyAllowOption(const SParsedArgs& parsed) {
    const auto given = parsed.lists.find(kAllowOption.name);
    if (given == parsed.lists.end()) return;
    std::vector<std::string> folders;
    for (const std::string& folder : given->second) {
        std::string resolved = Resolved(folder.c_str());
        if (resolved.empty()) throw CUsageError("no folder '" + folder + "' to allow");
        folders.push_back(std::move(resolved));
    }
    ZEM::SetLibraryPolicy([folders](const char* path) {
        if (!ZEM::platform::HasFolderPart(path)) return false;
        bool missing = false;
        const std::string resolved = Resolved(path, &missing);
        // A file that isn't there is left to the loader, which says so.
        if (resolved.empty()) return missing;
        for (const std::string& folder : folders)
            if (IsUnder(resolved, folder)) return true;
        return false;
    });
}

}  // namespace zemcli
