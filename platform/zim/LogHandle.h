#pragma once
// Catalogue entries for operator-visible log messages. Constructing a handle makes its message
// known to the platform (the catalogue); emitting goes to standard error with its severity.
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

class LogHandle {
public:
    LogHandle(std::string name, LogSeverity severity, std::string format, std::string explanation,
              std::string recommendedAction, double minimumInterval, double multiplier, int flag);
    ~LogHandle();
    LogHandle(const LogHandle&) = delete;
    LogHandle& operator=(const LogHandle&) = delete;

    const std::string& name() const noexcept { return name_; }
    LogSeverity severity() const noexcept { return severity_; }
    const std::string& format() const noexcept { return format_; }
    const std::string& explanation() const noexcept { return explanation_; }
    const std::string& recommendedAction() const noexcept { return recommendedAction_; }
    double minimumInterval() const noexcept { return minimumInterval_; }
    double multiplier() const noexcept { return multiplier_; }
    int flag() const noexcept { return flag_; }

private:
    std::string name_;
    LogSeverity severity_;
    std::string format_;
    std::string explanation_;
    std::string recommendedAction_;
    double minimumInterval_;
    double multiplier_;
    int flag_;
};

// Every handle alive now, in construction order (the same name may stand more than once: each
// unit that includes the catalogue holds its own copy).
std::vector<const LogHandle*> logCatalogue();

} // namespace Zim
