// KtMap: the hash map of the whole library. Nodes come from a pool of blocks
// that only grows (128, 192, 288, ... nodes), so a running container rarely
// touches the heap. All entries form one chain through `next` that walks the
// buckets in ascending order, newest first within a bucket; iteration follows
// it, so the order depends on the hashes, not on the order of insertion.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "foundation/kt_hash.h"
#include "zem/exception.h"

template <class Key, class Value, class Hash = KtHash<Key>>
class KtMap {
public:
    struct Node {
        Key key;
        Value value;
        Node* next;   // following node in the whole map's order
        Node* chain;  // following node in the same bucket
        std::uint64_t hash;
    };

    class Iterator {
    public:
        explicit Iterator(Node* node) : node_(node) {}
        Node& operator*() const { return *node_; }
        Node* operator->() const { return node_; }
        Iterator& operator++() {
            node_ = node_->next;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return node_ != other.node_; }
        bool operator==(const Iterator& other) const { return node_ == other.node_; }

    private:
        Node* node_;
    };

    static constexpr std::uint32_t kNoBucket = 0xFFFFFFFFu;

    KtMap() noexcept = default;
    KtMap(const KtMap& other)
        : blockSize_(other.blockSize_),
          growth_(other.growth_),
          bucketCount_(other.bucketCount_),
          bucketMask_(other.bucketMask_) {
        try {
            for (Node* n = other.Head(); n != nullptr; n = n->next) FindOrInsert(n->key) = n->value;
        } catch (...) {
            Destroy();
            throw;
        }
    }
    KtMap& operator=(const KtMap&) = delete;
    ~KtMap() { Destroy(); }

    // The value of `key`, default-constructed and linked in if absent.
    template <class K>
    Value& FindOrInsert(const K& key) {
        return FindOrInsertNode(key).value;
    }
    // The same, giving the whole entry: its key lives as long as the entry.
    template <class K>
    Node& FindOrInsertNode(const K& key) {
        const std::uint64_t hash = Hash::Hash(key);
        if (count_ != 0) {
            if (Node* node = FindNode(key, hash)) return *node;
        }
        Node* node = TakeNode();
        try {
            new (&node->key) Key(key);
        } catch (...) {
            GiveBack(node);
            throw;
        }
        try {
            new (&node->value) Value();
        } catch (...) {
            node->key.~Key();
            GiveBack(node);
            throw;
        }
        node->hash = hash;
        Link(node);
        return *node;
    }
    template <class K>
    Value& operator[](const K& key) { return FindOrInsert(key); }

    // The value of `key`, or null.
    template <class K>
    Value* Find(const K& key) const {
        if (count_ == 0) return nullptr;
        Node* node = FindNode(key, Hash::Hash(key));
        return node != nullptr ? &node->value : nullptr;
    }

    // Removes `key`; false if it was absent. The node returns to the pool,
    // its value first moved to `taken` if that is given.
    template <class K>
    bool Erase(const K& key, Value* taken = nullptr) {
        if (count_ == 0) return false;
        std::uint64_t hash = Hash::Hash(key);
        std::uint32_t b = static_cast<std::uint32_t>(hash) & bucketMask_;
        Node* before = nullptr;
        Node* node = buckets_[b];
        while (node != nullptr && !(node->hash == hash && Hash::Equal(node->key, key))) {
            before = node;
            node = node->chain;
        }
        if (node == nullptr) return false;
        // Unlink from the bucket chain.
        if (before != nullptr)
            before->chain = node->chain;
        else
            buckets_[b] = node->chain;
        // Unlink from the `next` chain: the predecessor is the previous node of
        // this bucket, else the last node of the nearest non-empty bucket below.
        Node* previous = before;
        if (previous == nullptr && b != firstBucket_) previous = LastBelow(b);
        if (previous != nullptr) previous->next = node->next;
        if (b == firstBucket_ && buckets_[b] == nullptr) {
            firstBucket_ = node->next != nullptr
                               ? static_cast<std::uint32_t>(node->next->hash) & bucketMask_
                               : kNoBucket;
        }
        --count_;
        if (taken != nullptr) *taken = std::move(node->value);
        node->value.~Value();
        node->key.~Key();
        GiveBack(node);
        return true;
    }

    std::uint32_t Size() const noexcept { return count_; }
    bool IsEmpty() const noexcept { return count_ == 0; }
    std::uint32_t BucketCount() const noexcept { return bucketCount_; }
    std::uint32_t BlockCount() const noexcept { return blocksAllocated_; }
    bool HasBuckets() const noexcept { return buckets_ != nullptr; }

    Iterator begin() const noexcept { return Iterator(Head()); }
    Iterator end() const noexcept { return Iterator(nullptr); }

    // Removes every entry in iteration order; buckets and pool stay.
    void Clear() {
        while (count_ != 0) {
            Node* head = Head();
            Key key(head->key);
            Erase(key);
        }
    }

private:
    struct SBlock {
        SBlock* next;
        void* memory;
    };
    static constexpr std::align_val_t kNodeAlignment{alignof(Node) < 8 ? 8 : alignof(Node)};

    Node* Head() const noexcept { return count_ == 0 ? nullptr : buckets_[firstBucket_]; }

    // The last node of the nearest non-empty bucket below `b`, which is the
    // predecessor in `next` of the head of `b`; `b` is above the first bucket,
    // so there is one. Walking the entries from the head passes those of the
    // buckets below `b`, about count x (b - first) / buckets nodes, each a
    // load of its own; searching the buckets down passes about buckets /
    // count of them, eight to a cache line. The walk is taken only where it
    // is expected to be far shorter, in a map of a handful of entries. The
    // bucket count decides as much as the entry count: a map that was large
    // once keeps its buckets, and walking its entries while it fills again
    // would cost time quadratic in them.
    Node* LastBelow(std::uint32_t b) const noexcept {
        if (static_cast<std::uint64_t>(count_) * 4 < bucketCount_ &&
            static_cast<double>(count_) * count_ * (b - firstBucket_) * 8 <
                static_cast<double>(bucketCount_) * bucketCount_) {
            Node* last = buckets_[firstBucket_];
            while (last->next != nullptr && (static_cast<std::uint32_t>(last->next->hash) & bucketMask_) < b)
                last = last->next;
            return last;
        }
        // The nearest of the four buckets below is picked without a branch on
        // which of them are empty (at the usual load, which one that is can't
        // be guessed); only when all four are empty does the search go on
        // bucket by bucket. Four stay mostly within the cache line of `b`.
        std::uint32_t i = b - 1;
        if (b >= 4) {
            std::uint32_t filled = 0;  // bit k: bucket b - 1 - k is not empty
            for (std::uint32_t k = 0; k < 4; ++k)
                filled |= static_cast<std::uint32_t>(buckets_[b - 1 - k] != nullptr) << k;
            i -= filled != 0 ? static_cast<std::uint32_t>(std::countr_zero(filled)) : 4;
        }
        while (buckets_[i] == nullptr) --i;  // stops at firstBucket_ at the latest
        Node* node = buckets_[i];
        while (node->chain != nullptr) node = node->chain;
        return node;
    }

    template <class K>
    Node* FindNode(const K& key, std::uint64_t hash) const {
        for (Node* n = buckets_[static_cast<std::uint32_t>(hash) & bucketMask_]; n != nullptr; n = n->chain)
            if (n->hash == hash && Hash::Equal(n->key, key)) return n;
        return nullptr;
    }

    // Returned nodes come first, then the newest block's untouched nodes from
    // its end down: the order in which a free list that got all the block's
    // nodes, the last one on top, would give them, without writing them all.
    Node* TakeNode() {
        if (Node* node = free_) {
            free_ = *reinterpret_cast<Node**>(node);
            return node;
        }
        if (untouched_ == 0) AllocateBlock();
        return static_cast<Node*>(blocks_->memory) + --untouched_;
    }
    void GiveBack(Node* node) noexcept {
        *reinterpret_cast<Node**>(node) = free_;
        free_ = node;
    }

    void AllocateBlock() {
        // Each earlier block multiplies the size by the growth factor, in single
        // precision with the fraction cut off: 128, 192, 288, 432, ...
        std::uint32_t size = blockSize_;
        for (std::uint32_t i = 0; i < blocksAllocated_; ++i) {
            float grown = static_cast<float>(size) * growth_;
            if (!(grown < 4294967296.0f)) throw KtExceptionContainer();  // no such block can be had
            size = static_cast<std::uint32_t>(grown);
        }
        if (size == 0) size = 1;
        void* memory = ::operator new(sizeof(Node) * size, kNodeAlignment, std::nothrow);
        auto* block = static_cast<SBlock*>(std::malloc(sizeof(SBlock)));
        if (memory == nullptr || block == nullptr) {
            if (memory != nullptr) ::operator delete(memory, kNodeAlignment);
            std::free(block);
            throw KtExceptionContainer();
        }
        block->memory = memory;
        block->next = blocks_;
        blocks_ = block;
        ++blocksAllocated_;
        untouched_ = size;
    }

    Node** NewBuckets(std::uint32_t count) {
        auto** buckets = static_cast<Node**>(std::calloc(count, sizeof(Node*)));
        if (buckets == nullptr) throw KtExceptionContainer();
        return buckets;
    }

    void Link(Node* node) {
        if (buckets_ == nullptr) {
            try {
                buckets_ = NewBuckets(bucketCount_);
            } catch (...) {
                node->value.~Value();
                node->key.~Key();
                GiveBack(node);
                throw;
            }
        }
        const std::uint32_t b = static_cast<std::uint32_t>(node->hash) & bucketMask_;
        if (count_ == 0) {
            node->next = nullptr;
            firstBucket_ = b;
        } else if (b <= firstBucket_) {
            node->next = buckets_[firstBucket_];
            firstBucket_ = b;
        } else {
            Node* last = LastBelow(b);
            node->next = last->next;
            last->next = node;
        }
        node->chain = buckets_[b];
        buckets_[b] = node;
        ++count_;
        if (static_cast<std::uint64_t>(count_) * 4 >= static_cast<std::uint64_t>(bucketCount_) * 3) Grow();
    }

    // Doubles the buckets; a failure to get the new array leaves the map as it
    // was. Every node is relinked at the head of its new bucket, walking the
    // old `next` chain, and `next` then runs through the new buckets in
    // ascending order, each along its chain.
    //
    // The old chain is the old buckets in ascending order, each along its
    // chain; the nodes of old bucket j go only to new bucket j or j + old
    // count. So the walk goes through the old array, and the new `next` chain
    // is the buckets' low parts in order, followed by their high parts, each
    // part hung behind the last one of its half. The stored hash is the key's
    // hash, so it is not worked out again.
    //
    // The nodes lie scattered over the pool, so the walk waits on memory. It
    // first gathers the heads of the non-empty old buckets at the front of
    // the old array, which then tells the nodes to fetch well ahead, and it
    // relinks without a branch on where a node goes: the processor can then
    // have many nodes on their way at once.
    void Grow() {
        const std::uint32_t oldCount = bucketCount_;
        const std::uint32_t count = oldCount * 2;
        if (count == 0) return;
        Node** buckets = static_cast<Node**>(std::calloc(count, sizeof(Node*)));
        if (buckets == nullptr) return;
        const std::uint32_t mask = count - 1;
        const std::uint32_t oldMask = bucketMask_;
        Node** const old = buckets_;

        std::uint32_t heads = 0;
        for (std::uint32_t j = firstBucket_; j < oldCount; ++j) {
            Node* head = old[j];
            old[heads] = head;
            heads += head != nullptr ? 1 : 0;
        }
        constexpr std::uint32_t kAhead = 16;
        Node* lowHead = nullptr;
        Node* highHead = nullptr;
        Node** link[2] = {&lowHead, &highHead};  // where each half's next part goes
        for (std::uint32_t i = 0; i < heads; ++i) {
            if (i + kAhead < heads) Prefetch(old[i + kAhead]);
            Node* n = old[i];
            const std::uint32_t j = static_cast<std::uint32_t>(n->hash) & oldMask;
            Node* last[2] = {nullptr, nullptr};  // first node put into each new bucket: the last of its chain
            do {
                Node* following = n->chain;
                const std::uint32_t half = (static_cast<std::uint32_t>(n->hash) & oldCount) != 0 ? 1 : 0;
                Node** slot = &buckets[j + half * oldCount];
                n->chain = *slot;
                n->next = *slot;  // within a bucket, `next` follows `chain`
                *slot = n;
                last[half] = last[half] != nullptr ? last[half] : n;
                n = following;
            } while (n != nullptr);
            // An empty part stores null where the next part will go, and
            // leaves the link where it was.
            *link[0] = buckets[j];
            link[0] = last[0] != nullptr ? &last[0]->next : link[0];
            *link[1] = buckets[j + oldCount];
            link[1] = last[1] != nullptr ? &last[1]->next : link[1];
        }
        *link[0] = highHead;
        *link[1] = nullptr;

        std::free(old);
        buckets_ = buckets;
        bucketCount_ = count;
        bucketMask_ = mask;
        firstBucket_ = lowHead != nullptr ? static_cast<std::uint32_t>(lowHead->hash) & mask : kNoBucket;
    }

    static void Prefetch(const void* address) noexcept {
#if defined(__GNUC__)
        __builtin_prefetch(address, 1);
#else
        (void)address;
#endif
    }

    void Destroy() noexcept {
        for (Node* n = Head(); n != nullptr;) {
            Node* following = n->next;
            n->value.~Value();
            n->key.~Key();
            n = following;
        }
        count_ = 0;
        std::free(buckets_);
        buckets_ = nullptr;
        while (blocks_ != nullptr) {
            SBlock* next = blocks_->next;
            ::operator delete(blocks_->memory, kNodeAlignment);
            std::free(blocks_);
            blocks_ = next;
        }
        free_ = nullptr;
        untouched_ = 0;
    }

    SBlock* blocks_ = nullptr;
    Node* free_ = nullptr;  // nodes given back
    std::uint32_t blockSize_ = 128;
    std::uint32_t blocksAllocated_ = 0;
    float growth_ = 1.5f;
    Node** buckets_ = nullptr;
    std::uint32_t count_ = 0;
    std::uint32_t bucketCount_ = 128;
    std::uint32_t bucketMask_ = 127;
    std::uint32_t firstBucket_ = kNoBucket;
    std::uint32_t untouched_ = 0;  // nodes of the newest block not yet handed out
};
