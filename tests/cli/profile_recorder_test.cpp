// The spans of `zem profile`: nesting per thread, self time without the
// children, and rows that add up to the load.
#include <gtest/gtest.h>

#include <thread>

#include "profile_recorder.h"

namespace {

using namespace zemcli;

ZEM::SBeanRequest Request(const char* name, ZEM::EBeanRequestOutcome outcome = ZEM::EBeanRequestOutcome::Made) {
    ZEM::SBeanRequest request;
    request.name = name;
    request.thread = std::this_thread::get_id();
    request.outcome = outcome;
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
    recorder.OnRequestStart(Request("broken"));
    ZEM::SBeanRequest failed = Request("broken", ZEM::EBeanRequestOutcome::Failed);
    failed.reason = L"Init method 'Start' failed";
    recorder.OnRequestEnd(failed);
    recorder.OnRequestEnd(Request("outer"));
    recorder.EndStep(load);

    const std::vector<SSpan> spans = recorder.Spans();
    const SSpan& outer = Named(spans, "outer");
    const SSpan& elsewhere = Named(spans, "elsewhere");
    EXPECT_EQ(outer.thread, 1u);
    EXPECT_EQ(elsewhere.thread, 2u);
    EXPECT_EQ(elsewhere.depth, 0u);
    EXPECT_EQ(elsewhere.parent, kNoSpan);
    for (const char* inner : {"left", "right", "broken"}) {
        const SSpan& span = Named(spans, inner);
        EXPECT_EQ(span.depth, 2u) << inner;
        EXPECT_EQ(&spans[span.parent], &outer) << inner;
        EXPECT_GE(span.start, outer.start);
        EXPECT_LE(span.end, outer.end);
    }
    EXPECT_EQ(outer.Self(), outer.Duration() - Named(spans, "left").Duration() - Named(spans, "right").Duration() -
                                Named(spans, "broken").Duration());

    const std::vector<SProfileRow> rows = Summarize(spans);
    std::int64_t sum = 0;
    for (const SProfileRow& row : rows) {
        sum += row.self;
        if (row.name == "broken") EXPECT_EQ(row.reason, "Init method 'Start' failed");
    }
    // The other thread's span lies outside the load's.
    EXPECT_EQ(sum, spans[load].Duration() + elsewhere.Duration());
    EXPECT_TRUE(rows.front().name == "left" || rows.front().name == "right") << "slowest first";
}

}  // namespace
