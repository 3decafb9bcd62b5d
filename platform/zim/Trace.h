#pragma once
// Trace handles by name, with levels 0 to 9. A settings string such as "LldpSnmp=8,Snmp=2" turns
// levels 0..N of a handle on ("*" names every handle; a bare name means all levels). The text
// of a trace line is built only when its level is on.
#include <functional>
#include <sstream>
#include <string>
#include <string_view>

namespace Zim {

struct TraceRecord {
    std::string handle;
    int level;
    std::string text;
    std::string source; // the unit ("LldpMIB"), from its file name
    int line;
    const char* function;
};

using TraceSink = std::function<void(const TraceRecord&)>;

// Parses and applies settings; returns an error text naming the bad element, or "" when applied.
// The environment variable ZIM_TRACE is read once, at the first trace check.
std::string traceSettingsIs(std::string_view settings);
std::string traceSettings();

// Where enabled lines go; an empty sink restores the default (standard error).
void traceSinkIs(TraceSink sink);

class TraceHandle {
public:
    explicit TraceHandle(std::string name, bool enabledByDefault = false);
    const std::string& name() const noexcept { return name_; }
    bool enabled(int level) const noexcept;
    void trace(int level, std::string text, const char* file, int line, const char* function) const;

private:
    std::string name_;
    bool enabledByDefault_;
    mutable unsigned generation_ = 0;
    mutable int maxLevel_ = -1;
};

} // namespace Zim

#define ZTRACE(handle, level, expr)                                                                \
    do {                                                                                           \
        const ::Zim::TraceHandle& zimTraceHandle_ = (handle);                                      \
        if (zimTraceHandle_.enabled(level)) {                                                      \
            std::ostringstream zimTraceOs_;                                                        \
            zimTraceOs_ << expr;                                                                   \
            zimTraceHandle_.trace(level, zimTraceOs_.str(), __FILE__, __LINE__, __func__);         \
        }                                                                                          \
    } while (0)

// The same, for shared code that traces on behalf of a unit: the line carries that unit's name.
#define ZTRACE_FROM(handle, unit, level, expr)                                                     \
    do {                                                                                           \
        const ::Zim::TraceHandle& zimTraceHandle_ = (handle);                                      \
        if (zimTraceHandle_.enabled(level)) {                                                      \
            std::ostringstream zimTraceOs_;                                                        \
            zimTraceOs_ << expr;                                                                   \
            zimTraceHandle_.trace(level, zimTraceOs_.str(), (unit), __LINE__, __func__);           \
        }                                                                                          \
    } while (0)
