// The host's library policy: every road by which a document loads a class
// library asks it first, with the path as it will be opened, and a refusal
// leaves nothing of the library run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/string_convert.h"
#include "support/message_of.h"
#include "zem/zem.h"

namespace {

using zem_support::MessageOf;

std::string Document(const std::string& library, const std::string& bean) {
    return "<zem><library path=\"" + library + "\"><beans>" + bean + "</beans></library></zem>";
}

bool Marked() { return std::getenv("ZEM_TEST_MARKING_LOADED") != nullptr; }

// What the failure handler of `container` was told when `name` gave nothing.
std::wstring RequestFailure(ZEM::CContainer& container, const char* name) {
    std::wstring told;
    ZEM::SetBeanFailureHandler(container.Factory(),
                               [&](const char*, const std::wstring& reason, const auto&) { told = reason; });
    EXPECT_FALSE(container.GetBean(name));
    ZEM::SetBeanFailureHandler(container.Factory(), nullptr);
    return told;
}

TEST(LibraryPolicy, ARefusedLibraryRunsNothingOnAnyRoad) {
    const std::string marking = std::string(ZEM_FIXTURE_DIR) + "/libmarking.so";
    // Another spelling of the same file: the policy sees it as written.
    const std::string spelt = std::string(ZEM_FIXTURE_DIR) + "/../fixtures/./libmarking.so";
    ASSERT_FALSE(Marked());
    struct SDefaultPolicyAtEnd {
        ~SDefaultPolicyAtEnd() { ZEM::SetLibraryPolicy(nullptr); }
    } atEnd;
    std::vector<std::string> asked;
    ZEM::SetLibraryPolicy([&](const char* path) {
        asked.emplace_back(path);
        return false;
    });
    const std::wstring refused = ZEM::Widen("Library '" + marking + "' is not allowed by the host");

    ZEM::CContainer byPath(Document(marking, "<bean name='m' class='Marked'/>").c_str());
    EXPECT_EQ(MessageOf([&] { byPath.Exists("m"); }), refused);
    EXPECT_EQ(RequestFailure(byPath, "m"), refused);

    ZEM::CContainer byClass(Document("", "<bean name='m' class='Marked@" + spelt + "'/>").c_str());
    EXPECT_EQ(RequestFailure(byClass, "m"), ZEM::Widen("Library '" + spelt + "' is not allowed by the host"));

    // A `provides` binds while the document is read: the read fails.
    const std::string providing = "<bean name='m' class='Marked'><provides><interface>IMarked</interface></provides></bean>";
    EXPECT_EQ(MessageOf([&] { ZEM::CContainer(Document(marking, providing).c_str(), false); }), refused);

    EXPECT_FALSE(Marked()) << "the library's initialiser ran";
    EXPECT_EQ(asked, (std::vector<std::string>{marking, marking, spelt, marking}));

    // The running program (a library without path) isn't asked about.
    asked.clear();
    ZEM::CContainer host(Document("", "<bean name='h' class='NoSuchClass'/>").c_str());
    EXPECT_FALSE(host.GetBean("h"));
    EXPECT_TRUE(asked.empty());

    // The default again: the library loads, and its initialiser runs.
    ZEM::SetLibraryPolicy(nullptr);
    EXPECT_TRUE(byPath.GetBean("m"));
    EXPECT_TRUE(Marked());
}

}  // namespace
