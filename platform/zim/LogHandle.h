#pragma once
// Catalogue entries for operator-visible log messages. Constructing a handle makes its message
// known to the platform (the catalogue); log() fills its printf-style format (each %s, %d, %f in
// turn takes the next argument) and emits the line at the handle's severity through the sink the
// host installed (standard error until it installs one). A handle with a minimum interval emits
// at most once per interval; the next line it emits counts the ones it held back.
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace Zim {

enum class LogSeverity : int {
    emergency = 0,
    alert = 1,
    critical = 2,
    error = 3,
    warning = 4,
    notice = 5,
    info = 6,
    debug = 7,
};

extern const char* const NoActionRequired;

class LogHandle;
using LogSink = std::function<void(const LogHandle& handle, const std::string& text)>;
// Where emitted lines go; an empty sink restores standard error.
void logSinkIs(LogSink sink);

class LogHandle {
public:
    LogHandle(std::string name, LogSeverity severity, std::string format, std::string explanation,
              std::string recommendedAction, double minimumInterval);
    ~LogHandle();
    LogHandle(const LogHandle&) = delete;
    LogHandle& operator=(const LogHandle&) = delete;

    const std::string& name() const noexcept { return name_; }
    LogSeverity severity() const noexcept { return severity_; }
    const std::string& format() const noexcept { return format_; }
    const std::string& explanation() const noexcept { return explanation_; }
    const std::string& recommendedAction() const noexcept { return recommendedAction_; }
    double minimumInterval() const noexcept { return minimumInterval_; }

    template <class... Args> void log(const Args&... args) const {
        std::vector<std::string> texts;
        (texts.push_back(textOf(args)), ...);
        emit(filled(texts));
    }

private:
    template <class Arg> static std::string textOf(const Arg& arg) {
        std::ostringstream os;
        os << arg;
        return os.str();
    }
    std::string filled(const std::vector<std::string>& args) const;
    void emit(const std::string& text) const;

    std::string name_;
    LogSeverity severity_;
    std::string format_;
    std::string explanation_;
    std::string recommendedAction_;
    double minimumInterval_;
    mutable double lastEmitted_ = -1.0;
    mutable unsigned long heldBack_ = 0;
};

// Every handle alive now, in construction order.
std::vector<const LogHandle*> logCatalogue();

} // namespace Zim
