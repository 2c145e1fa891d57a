// The exception family: Clone, and which handler catches. (Copies and moves
// only carry the message, which the other tests compare everywhere.)
#include "zem/exception.h"

#include <gtest/gtest.h>

#include "foundation/kt_string.h"

using ZEM::CException;

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
    EXPECT_EQ(CException(static_cast<const wchar_t*>(nullptr)).GetMessageW(), L"");
}

// A host that catches std::exception sees the message, in UTF-8; a move
// takes it along.
TEST(CException, IsAStdExceptionWithItsMessageInUtf8) {
    try {
        throw CException(L"Bean 'gr\u00fc\u00dfe' is not a 'x::\u20ac'");
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "Bean 'gr\xc3\xbc\xc3\x9f" "e' is not a 'x::\xe2\x82\xac'");
        CException moved(std::move(const_cast<CException&>(dynamic_cast<const CException&>(failure))));
        EXPECT_STREQ(failure.what(), "");
        EXPECT_STREQ(moved.what(), "Bean 'gr\xc3\xbc\xc3\x9f" "e' is not a 'x::\xe2\x82\xac'");
    }
}
