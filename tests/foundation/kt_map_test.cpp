// KtMap: order of the one `next` chain, bucket growth, the node pool and its
// blocks, erasing with the first-bucket bookkeeping, copies.
#include "foundation/kt_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using StrMap = KtMap<KtStr, int>;

std::vector<std::string> Keys(const StrMap& map) {
    std::vector<std::string> keys;
    for (auto& node : map) keys.emplace_back(node.key.c_str());
    return keys;
}

std::uint32_t BucketOf(const KtStr& key, const StrMap& map) {
    return static_cast<std::uint32_t>(KtHash<KtStr>::Hash(key)) & (map.BucketCount() - 1);
}

// Iteration walks the buckets in ascending order, each bucket along its chain
// from the head, and visits every entry once.
void ExpectChainInBucketOrder(const StrMap& map) {
    std::uint32_t visited = 0;
    for (auto& node : map) {
        ++visited;
        if (node.next == nullptr) continue;
        if (node.chain != nullptr) EXPECT_EQ(node.next, node.chain) << node.key.c_str();
        else EXPECT_GT(BucketOf(node.next->key, map), BucketOf(node.key, map)) << node.key.c_str();
    }
    EXPECT_EQ(visited, map.Size());
}

std::string Key(int i) { return "key" + std::to_string(i); }

// The order that the rules give, kept the plain way: buckets in ascending
// order, a new key at the head of its bucket (an existing one stays where it
// is), and at three quarters full a doubling that moves every key to the head
// of its new bucket, walking the old order. (The singletons' order in the
// container's lifecycle test pins a few keys by hand.)
class OrderModel {
public:
    void Insert(const std::string& key) {
        buckets_[BucketOf(key)].push_front(key);
        if (++size_ * 4 >= buckets_.size() * 3) {
            const std::vector<std::string> old = Order();
            buckets_.assign(buckets_.size() * 2, {});
            for (const std::string& moved : old) buckets_[BucketOf(moved)].push_front(moved);
        }
    }
    void Erase(const std::string& key) {
        std::deque<std::string>& bucket = buckets_[BucketOf(key)];
        bucket.erase(std::find(bucket.begin(), bucket.end(), key));
        --size_;
    }
    std::vector<std::string> Order() const {
        std::vector<std::string> order;
        for (const auto& bucket : buckets_) order.insert(order.end(), bucket.begin(), bucket.end());
        return order;
    }

private:
    std::size_t BucketOf(const std::string& key) const {
        return static_cast<std::uint32_t>(KtHash<KtStr>::Hash(key)) & (buckets_.size() - 1);
    }

    std::vector<std::deque<std::string>> buckets_ = std::vector<std::deque<std::string>>(128);
    std::size_t size_ = 0;
};

}  // namespace

TEST(KtMap, BlocksGrowByHalfAndAreReused) {
    // Blocks hold 128, 192, 288, 432, ... nodes, each size cut to a whole
    // number: the ninth is 3280 (2187 * 1.5 = 3280.5), so 9585 nodes in all.
    KtMap<int, int> map;
    const struct {
        int entries;
        std::uint32_t blocks;
    } expected[] = {{128, 1}, {129, 2}, {320, 2}, {321, 3}, {1041, 5}, {9585, 9}, {9586, 10}};
    int inserted = 0;
    for (const auto& row : expected) {
        while (inserted < row.entries) map[inserted++] = 0;
        EXPECT_EQ(map.BlockCount(), row.blocks) << "after " << row.entries << " entries";
    }
    // Erase everything, then insert as many other keys: the pool serves them.
    for (int i = 0; i < inserted; ++i) ASSERT_TRUE(map.Erase(i));
    EXPECT_TRUE(map.IsEmpty());
    for (int i = 0; i < inserted; ++i) map[-1 - i] = i;
    EXPECT_EQ(map.BlockCount(), 10u);
    EXPECT_EQ(*map.Find(-1 - 1000), 1000);
}

TEST(KtMap, CopiesHaveNodesOfTheirOwn) {
    auto source = std::make_unique<StrMap>();
    for (int i = 0; i < 200; ++i) (*source)[Key(i)] = i;
    StrMap copy(*source);
    EXPECT_EQ(copy.BucketCount(), 512u);
    EXPECT_EQ(copy.BlockCount(), 2u);  // blocks of its own, not the source's
    ExpectChainInBucketOrder(copy);
    copy[Key(0)] = -1;
    copy.Erase(Key(1));
    EXPECT_EQ(*source->Find(Key(0)), 0);
    EXPECT_NE(source->Find(Key(1)), nullptr);
    source.reset();  // the copy shares key strings, not nodes
    for (int i = 2; i < 200; ++i) EXPECT_EQ(*copy.Find(Key(i)), i);
}

TEST(KtMap, EmptyKeyIsLegal) {
    KtMap<KtWStr, KtWStr> wide;
    wide[KtWStr()] = L"empty";
    wide[L"x"] = L"x";
    EXPECT_TRUE(*wide.Find(L"") == L"empty");
    EXPECT_EQ(wide.begin()->key.Length(), 0);  // bucket 0 comes first
    EXPECT_TRUE(wide.Erase(std::wstring()));
    EXPECT_EQ(wide.Find(L""), nullptr);
    EXPECT_NE(wide.Find(std::wstring_view(L"xy").substr(0, 1)), nullptr);
}

// Random inserts and erasures against a reference: crosses both doublings and
// every erase case (head, middle, tail of a bucket; first bucket emptied; the
// map emptied and filled again), and after each step the order is the rules'.
TEST(KtMap, AgreesWithReferenceUnderRandomOperations) {
    std::mt19937 random(20240611);
    StrMap map;
    std::map<std::string, int> reference;
    OrderModel model;
    EXPECT_FALSE(map.HasBuckets());  // no memory until the first insertion
    EXPECT_FALSE(map.Erase(Key(0)));
    // One insertion, or one erasure in `eraseOneIn`, of one of `keys` keys.
    auto step = [&](int i, int keys, int eraseOneIn) {
        SCOPED_TRACE(testing::Message() << "step " << i);
        const std::string key = Key(static_cast<int>(random() % keys));
        if (random() % eraseOneIn != 0) {
            if (reference.count(key) == 0) model.Insert(key);
            map[key] = reference[key] = i;
        } else {
            const bool present = reference.erase(key) == 1;
            ASSERT_EQ(map.Erase(key), present);
            if (present) model.Erase(key);
        }
        ASSERT_EQ(Keys(map), model.Order());
        ExpectChainInBucketOrder(map);
    };
    for (int i = 0; i < 20000; ++i) ASSERT_NO_FATAL_FAILURE(step(i, 400, 3));
    std::map<std::string, int> seen;
    for (auto& node : map) seen[node.key.c_str()] = node.value;
    EXPECT_EQ(seen, reference);

    // Few entries among many buckets: links and unlinks find their place
    // along the entries rather than down the buckets.
    for (const auto& [key, value] : std::exchange(reference, {})) {
        map.Erase(key);
        model.Erase(key);
    }
    for (int i = 0; i < 2000; ++i) ASSERT_NO_FATAL_FAILURE(step(i, 8, 2));
}
