#include "platform/zim/Trace.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace Zim {

namespace {

struct TraceState {
    std::map<std::string, int, std::less<>> levels;
    int wildcard = -1;
    std::string settings;
    unsigned generation = 1;
    bool environmentRead = false;
    TraceSink sink;
};

TraceState& state() {
    static TraceState s;
    return s;
}

void readEnvironmentOnce() {
    auto& s = state();
    if (s.environmentRead)
        return;
    s.environmentRead = true;
    if (const char* env = std::getenv("ZIM_TRACE"); env && *env) {
        if (auto error = traceSettingsIs(env); !error.empty()) {
            std::fprintf(stderr, "ZIM_TRACE: %s\n", error.c_str());
        }
    }
}

std::string_view trim(std::string_view v) {
    while (!v.empty() && v.front() == ' ')
        v.remove_prefix(1);
    while (!v.empty() && v.back() == ' ')
        v.remove_suffix(1);
    return v;
}

std::string unitName(const char* file) {
    std::string_view f(file);
    if (auto slash = f.rfind('/'); slash != std::string_view::npos)
        f.remove_prefix(slash + 1);
    if (auto dot = f.find('.'); dot != std::string_view::npos)
        f = f.substr(0, dot);
    return std::string(f);
}

void writeToStandardError(const TraceRecord& r) {
    using namespace std::chrono;
    auto us = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    std::fprintf(stderr, "%lld.%06lld %s/%d %s:%d %s\n", static_cast<long long>(us / 1000000),
                 static_cast<long long>(us % 1000000), r.handle.c_str(), r.level, r.source.c_str(),
                 r.line, r.text.c_str());
}

} // namespace

std::string traceSettingsIs(std::string_view settings) {
    auto& s = state();
    s.environmentRead = true;
    std::map<std::string, int, std::less<>> levels;
    int wildcard = -1;
    std::string_view rest = settings;
    while (!rest.empty()) {
        auto comma = rest.find(',');
        std::string_view item = trim(rest.substr(0, comma));
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        if (item.empty())
            continue;
        int level = 9;
        std::string_view name = item;
        if (auto eq = item.find('='); eq != std::string_view::npos) {
            name = trim(item.substr(0, eq));
            auto number = trim(item.substr(eq + 1));
            auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), level);
            if (ec != std::errc() || ptr != number.data() + number.size() || level < 0 ||
                level > 9) {
                return "bad trace level '" + std::string(number) + "' for '" + std::string(name) +
                       "' (0 to 9)";
            }
        }
        if (name.empty())
            return "empty trace handle name in '" + std::string(item) + "'";
        if (name == "*") {
            wildcard = level;
        } else {
            levels[std::string(name)] = level;
        }
    }
    s.levels = std::move(levels);
    s.wildcard = wildcard;
    s.settings = std::string(settings);
    ++s.generation;
    return {};
}

std::string traceSettings() {
    return state().settings;
}

void traceSinkIs(TraceSink sink) {
    state().sink = std::move(sink);
}

TraceHandle::TraceHandle(std::string name, bool enabledByDefault)
    : name_(std::move(name)), enabledByDefault_(enabledByDefault) {}

bool TraceHandle::enabled(int level) const noexcept {
    auto& s = state();
    if (!s.environmentRead)
        readEnvironmentOnce();
    if (generation_ != s.generation) {
        generation_ = s.generation;
        auto it = s.levels.find(name_);
        maxLevel_ = it != s.levels.end() ? it->second : s.wildcard;
        if (maxLevel_ < 0 && enabledByDefault_)
            maxLevel_ = 0;
    }
    return level <= maxLevel_;
}

void TraceHandle::trace(int level, std::string text, const char* file, int line,
                        const char* function) const {
    TraceRecord record{name_, level, std::move(text), unitName(file), line, function};
    auto& s = state();
    if (s.sink) {
        s.sink(record);
    } else {
        writeToStandardError(record);
    }
}

} // namespace Zim
