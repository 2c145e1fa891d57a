// The exception family: value semantics of CException, Clone through the
// root, and which handler catches which class.
#include "zem/exception.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "foundation/kt_string.h"

using ZEM::CException;

TEST(CException, CopyAndMoveOfMessage) {
    const std::wstring text = L"Overriding bean 'a long enough name to leave the small buffer' is not allowed";
    CException original(text);

    CException copy(original);
    EXPECT_EQ(copy.GetMessageW(), text);
    EXPECT_EQ(original.GetMessageW(), text);

    CException moved(std::move(copy));
    EXPECT_EQ(moved.GetMessageW(), text);
    EXPECT_EQ(copy.GetMessageW(), L"");  // NOLINT(bugprone-use-after-move)

    CException assigned(L"other");
    assigned = original;
    EXPECT_EQ(assigned.GetMessageW(), text);
    CException target(L"x");
    target = std::move(assigned);
    EXPECT_EQ(target.GetMessageW(), text);
    EXPECT_EQ(assigned.GetMessageW(), L"");  // NOLINT(bugprone-use-after-move)

    CException& self = target;
    target = self;
    EXPECT_EQ(target.GetMessageW(), text);
    target = std::move(self);
    EXPECT_EQ(target.GetMessageW(), text);
}

TEST(CException, NullMessageIsEmpty) {
    CException fromNull(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(fromNull.GetMessageW(), L"");
    CException copy(fromNull);
    CException moved(std::move(copy));
    std::unique_ptr<IException> clone = moved.Clone();
    EXPECT_EQ(dynamic_cast<CException&>(*clone).GetMessageW(), L"");
}

TEST(CException, CloneThroughRootOutlivesOriginal) {
    std::unique_ptr<IException> kept;
    try {
        throw CException(L"Invalid bool value");
    } catch (const IException& failure) {
        kept = failure.Clone();
    }
    ASSERT_NE(kept, nullptr);
    auto* clone = dynamic_cast<CException*>(kept.get());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->GetMessageW(), L"Invalid bool value");
    const IException& root = *kept;
    EXPECT_EQ(typeid(root), typeid(CException));
}

TEST(KtExceptionContainer, CaughtAsRootNotAsCException) {
    bool byRoot = false;
    try {
        try {
            throw KtExceptionContainer();
        } catch (const CException&) {
            FAIL() << "a container failure is no CException";
        }
    } catch (const IException& failure) {
        byRoot = true;
        std::unique_ptr<IException> clone = failure.Clone();
        EXPECT_NE(dynamic_cast<KtExceptionContainer*>(clone.get()), nullptr);
    }
    EXPECT_TRUE(byRoot);
}

TEST(KtStrException, IsPartOfTheFamily) {
    try {
        throw KtWStr::CException();
    } catch (const IException& failure) {
        std::unique_ptr<IException> clone = failure.Clone();
        EXPECT_NE(dynamic_cast<KtWStr::CException*>(clone.get()), nullptr);
        EXPECT_EQ(dynamic_cast<CException*>(clone.get()), nullptr);
    }
}
