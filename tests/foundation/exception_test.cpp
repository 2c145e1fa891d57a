// The exception family: value semantics, Clone, and which handler catches.
#include "zem/exception.h"

#include <gtest/gtest.h>

#include "foundation/kt_string.h"

using ZEM::CException;

TEST(CException, CopyAndMoveOfMessage) {
    const std::wstring text = L"Overriding bean 'a long enough name to leave the small buffer' is not allowed";
    CException original(text), copy(original), target(std::move(copy)), assigned(L"other");
    EXPECT_EQ(copy.GetMessageW(), L"");  // NOLINT(bugprone-use-after-move)
    CException& self = target;
    target = self;
    target = std::move(self);
    assigned = std::move(target);
    EXPECT_EQ(target.GetMessageW(), L"");  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(assigned.GetMessageW(), text);
    assigned = original;
    EXPECT_EQ(assigned.GetMessageW(), text);
    EXPECT_EQ(original.GetMessageW(), text);
    EXPECT_EQ(CException(static_cast<const wchar_t*>(nullptr)).GetMessageW(), L"");
}

TEST(CException, CloneThroughRootKeepsTheClass) {
    // Thrown, caught as the root and cloned; the container's and the string's
    // failures are caught as the root only, never as CException.
    auto rethrow = [](auto failure) -> std::unique_ptr<IException> {
        try {
            try {
                throw failure;
            } catch (const CException&) {
                if (!std::is_same_v<decltype(failure), CException>) ADD_FAILURE() << "caught as CException";
                throw;
            }
        } catch (const IException& root) {
            return root.Clone();
        }
    };
    std::unique_ptr<IException> kept = rethrow(CException(L"Invalid bool value"));
    auto* clone = dynamic_cast<CException*>(kept.get());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->GetMessageW(), L"Invalid bool value");
    EXPECT_NE(dynamic_cast<KtExceptionContainer*>(rethrow(KtExceptionContainer()).get()), nullptr);
    EXPECT_NE(dynamic_cast<KtWStr::CException*>(rethrow(KtWStr::CException()).get()), nullptr);
}
