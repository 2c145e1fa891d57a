// The shared log of the fixture wrappers; see fixture_log.h. Everything here
// is plain standard C++, so linking it into any test executable pulls nothing
// else in.
#include "support/fixture_log.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace {

struct SLogState {
    std::mutex mutex;
    std::vector<std::string> lines;
    std::unordered_map<const void*, std::string> tags;
    std::atomic<bool> enabled{true};
    std::atomic<unsigned long> serial{0};
};

SLogState& State() {
    static SLogState* state = new SLogState;  // never destroyed: objects may end at exit
    return *state;
}

}  // namespace

extern "C" void zem_fixture_record(const char* line) {
    SLogState& state = State();
    if (!state.enabled.load()) return;
    std::lock_guard<std::mutex> guard(state.mutex);
    state.lines.emplace_back(line != nullptr ? line : "");
}

extern "C" unsigned long zem_fixture_serial() { return ++State().serial; }

extern "C" void zem_fixture_object(const void* object, const char* tag) {
    SLogState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    if (tag != nullptr)
        state.tags[object] = tag;
    else
        state.tags.erase(object);
}

namespace zem_support {

void FixtureLog::Reset() {
    SLogState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    state.lines.clear();
    state.serial = 0;
    state.enabled = true;
}

std::vector<std::string> FixtureLog::Lines() {
    SLogState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    return state.lines;
}

std::vector<std::string> FixtureLog::Take() {
    SLogState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    std::vector<std::string> lines;
    lines.swap(state.lines);
    return lines;
}

std::vector<std::string> FixtureLog::Starting(const std::string& prefix) {
    std::vector<std::string> selected;
    for (std::string& line : Lines())
        if (line.compare(0, prefix.size(), prefix) == 0) selected.push_back(std::move(line));
    return selected;
}

void FixtureLog::Enable(bool on) { State().enabled = on; }

std::string FixtureLog::TagOf(const void* object) {
    SLogState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    auto found = state.tags.find(object);
    return found != state.tags.end() ? found->second : std::string();
}

std::size_t FixtureLog::LivingObjects() {
    SLogState& state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    return state.tags.size();
}

}  // namespace zem_support
