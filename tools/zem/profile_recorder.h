// Timed spans of a load for `zem profile`: a request observer that turns the
// starts and ends of bean requests into spans nested per thread, the steps of
// the load as spans of their own, and the per-bean summary made from them.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zem/diagnostics.h"

namespace zemcli {

constexpr std::size_t kNoSpan = static_cast<std::size_t>(-1);

struct SSpan {
    std::string name;
    bool step = false;         // a step of the load ("(read)"), not a bean request
    std::string library;       // the requesting library's path; empty: none
    std::uint32_t thread = 0;  // threads numbered from 1 in order of first appearance
    std::size_t depth = 0;     // spans of this thread that enclose this one
    std::size_t parent = kNoSpan;
    std::int64_t start = 0;  // nanoseconds since the recorder began
    std::int64_t end = 0;
    std::int64_t children = 0;  // nanoseconds spent in the direct children
    bool singleton = false;
    ZEM::EBeanRequestOutcome outcome = ZEM::EBeanRequestOutcome::Made;
    std::string reason;

    std::int64_t Duration() const { return end - start; }
    std::int64_t Self() const { return end - start - children; }
};

class CProfileRecorder final : public ZEM::IBeanRequestObserver {
public:
    CProfileRecorder();

    void OnRequestStart(const ZEM::SBeanRequest& request) override;
    void OnRequestEnd(const ZEM::SBeanRequest& request) override;

    // A step of the load on the calling thread; requests started before
    // EndStep nest inside it. Returns the span's index.
    std::size_t BeginStep(const std::string& name);
    void EndStep(std::size_t span);

    // Every span, in order of start; those still open have end == start.
    std::vector<SSpan> Spans() const;

private:
    std::size_t Open(SSpan span, std::thread::id thread);
    void Close(std::size_t index, std::thread::id thread);
    std::int64_t Now() const;

    struct SThread {
        std::uint32_t number = 0;
        std::vector<std::size_t> open;
    };
    mutable std::mutex mutex_;
    std::chrono::steady_clock::time_point origin_;
    std::vector<SSpan> spans_;
    std::map<std::thread::id, SThread> threads_;
};

// One line of the profile: a bean, or a step of the load.
struct SProfileRow {
    std::string name;
    bool step = false;
    std::int64_t total = 0;  // with everything it asked for; a bean nested in itself counts once
    std::int64_t self = 0;   // without its children
    std::size_t made = 0;
    std::size_t requests = 0;
    std::size_t failed = 0;
    std::string reason;  // of the first failure
};

// The rows of `spans`, slowest self time first. The self times add up to the
// time of the root spans, so the rows of one load sum to its total.
std::vector<SProfileRow> Summarize(const std::vector<SSpan>& spans);

}  // namespace zemcli
