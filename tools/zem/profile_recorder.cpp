// The spans of a profiled load and their summary per bean.
#include "profile_recorder.h"

#include <algorithm>
#include <unordered_map>

#include "cli.h"

namespace zemcli {

CProfileRecorder::CProfileRecorder() : origin_(std::chrono::steady_clock::now()) {}

std::int64_t CProfileRecorder::Now() const {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - origin_).count();
}

std::size_t CProfileRecorder::Open(SSpan span, std::thread::id thread) {
    std::lock_guard<std::mutex> guard(mutex_);
    SThread& state = threads_[thread];
    if (state.number == 0) state.number = static_cast<std::uint32_t>(threads_.size());
    span.thread = state.number;
    span.depth = state.open.size();
    span.parent = state.open.empty() ? kNoSpan : state.open.back();
    span.start = span.end = Now();
    spans_.push_back(std::move(span));
    state.open.push_back(spans_.size() - 1);
    return spans_.size() - 1;
}

void CProfileRecorder::Close(std::size_t index, std::thread::id thread) {
    std::lock_guard<std::mutex> guard(mutex_);
    SThread& state = threads_[thread];
    // Ends come in nested order; anything opened after `index` and still open
    // ended with it.
    while (!state.open.empty()) {
        const std::size_t top = state.open.back();
        state.open.pop_back();
        SSpan& span = spans_[top];
        span.end = Now();
        if (span.parent != kNoSpan) spans_[span.parent].children += span.Duration();
        if (top == index) break;
    }
}

void CProfileRecorder::OnRequestStart(const ZEM::SBeanRequest& request) {
    SSpan span;
    span.name = request.name != nullptr ? request.name : "";
    span.library = request.library != nullptr ? request.library : "";
    Open(std::move(span), request.thread);
}

void CProfileRecorder::OnRequestEnd(const ZEM::SBeanRequest& request) {
    std::size_t index = kNoSpan;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        const auto found = threads_.find(request.thread);
        if (found == threads_.end() || found->second.open.empty()) return;
        index = found->second.open.back();
        SSpan& span = spans_[index];
        span.singleton = request.singleton;
        span.outcome = request.outcome;
        span.reason = Utf8(request.reason);
    }
    Close(index, request.thread);
}

std::size_t CProfileRecorder::BeginStep(const std::string& name) {
    SSpan span;
    span.name = name;
    span.step = true;
    return Open(std::move(span), std::this_thread::get_id());
}

void CProfileRecorder::EndStep(std::size_t span) { Close(span, std::this_thread::get_id()); }

std::vector<SSpan> CProfileRecorder::Spans() const {
    std::lock_guard<std::mutex> guard(mutex_);
    return spans_;
}

std::vector<SProfileRow> Summarize(const std::vector<SSpan>& spans) {
    std::vector<SProfileRow> rows;
    std::unordered_map<std::string, std::size_t> rowOf;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const SSpan& span = spans[i];
        const std::string key = (span.step ? "s:" : "b:") + span.name;
        auto [at, added] = rowOf.emplace(key, rows.size());
        if (added) {
            rows.emplace_back();
            rows.back().name = span.name;
            rows.back().step = span.step;
        }
        SProfileRow& row = rows[at->second];
        row.self += span.Self();
        // A bean asked for inside its own making is already in the outer total.
        bool nested = false;
        for (std::size_t up = span.parent; up != kNoSpan && !nested; up = spans[up].parent)
            nested = spans[up].step == span.step && spans[up].name == span.name;
        if (!nested) row.total += span.Duration();
        if (span.step) continue;
        ++row.requests;
        if (span.outcome == ZEM::EBeanRequestOutcome::Made) ++row.made;
        if (span.outcome == ZEM::EBeanRequestOutcome::Failed && row.failed++ == 0) row.reason = span.reason;
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const SProfileRow& a, const SProfileRow& b) { return a.self > b.self; });
    return rows;
}

}  // namespace zemcli
