// The spans of `zem profile` nest per thread, and the rows add up to the load
// and the other threads' spans. (Self times and failures on one thread:
// cli.profile.outputs.)
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "profile_recorder.h"

namespace {

using namespace zemcli;

ZEM::SBeanRequest Request(const char* name) {
    ZEM::SBeanRequest request;
    request.name = name;
    request.thread = std::this_thread::get_id();
    return request;
}

const SSpan& Named(const std::vector<SSpan>& spans, const std::string& name) {
    for (const SSpan& span : spans)
        if (span.name == name) return span;
    throw std::runtime_error("no span " + name);
}

TEST(ProfileRecorder, SpansNestPerThreadAndRowsAddUp) {
    CProfileRecorder recorder;
    const std::size_t load = recorder.BeginStep("(load)");
    recorder.OnRequestStart(Request("outer"));
    // Another thread's request, while "outer" is open here, nests in nothing.
    std::thread([&] {
        recorder.OnRequestStart(Request("elsewhere"));
        recorder.OnRequestEnd(Request("elsewhere"));
    }).join();
    for (const char* inner : {"left", "right"}) {
        recorder.OnRequestStart(Request(inner));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        recorder.OnRequestEnd(Request(inner));
    }
    recorder.OnRequestEnd(Request("outer"));
    recorder.EndStep(load);

    const std::vector<SSpan> spans = recorder.Spans();
    const SSpan& outer = Named(spans, "outer");
    const SSpan& elsewhere = Named(spans, "elsewhere");
    EXPECT_EQ(outer.thread, 1u);
    EXPECT_EQ(elsewhere.thread, 2u);
    EXPECT_EQ(elsewhere.depth, 0u);
    EXPECT_EQ(elsewhere.parent, kNoSpan);
    for (const char* inner : {"left", "right"}) {
        const SSpan& span = Named(spans, inner);
        EXPECT_EQ(span.depth, 2u) << inner;
        EXPECT_EQ(&spans[span.parent], &outer) << inner;
        EXPECT_GE(span.start, outer.start);
        EXPECT_LE(span.end, outer.end);
    }

    const std::vector<SProfileRow> rows = Summarize(spans);
    std::int64_t sum = 0;
    for (const SProfileRow& row : rows) sum += row.self;
    // The other thread's span lies outside the load's.
    EXPECT_EQ(sum, spans[load].Duration() + elsewhere.Duration());
    EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), [](const SProfileRow& a, const SProfileRow& b) {
        return a.self > b.self;
    })) << "slowest first";
}

}  // namespace
