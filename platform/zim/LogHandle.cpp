#include "platform/zim/LogHandle.h"

#include "platform/zim/Clock.h"

#include <algorithm>
#include <iostream>

namespace Zim {

const char* const NoActionRequired = "No action is required.";

namespace {
std::vector<const LogHandle*>& catalogue() {
    static std::vector<const LogHandle*> handles;
    return handles;
}

LogSink& sink() {
    static LogSink current;
    return current;
}
} // namespace

void logSinkIs(LogSink newSink) {
    sink() = std::move(newSink);
}

LogHandle::LogHandle(std::string name, LogSeverity severity, std::string format,
                     std::string explanation, std::string recommendedAction, double minimumInterval)
    : name_(std::move(name)), severity_(severity), format_(std::move(format)),
      explanation_(std::move(explanation)), recommendedAction_(std::move(recommendedAction)),
      minimumInterval_(minimumInterval) {
    catalogue().push_back(this);
}

LogHandle::~LogHandle() {
    std::erase(catalogue(), this);
}

std::string LogHandle::filled(const std::vector<std::string>& args) const {
    std::string text;
    size_t next = 0;
    for (size_t i = 0; i < format_.size(); ++i) {
        if (format_[i] != '%' || i + 1 == format_.size()) {
            text += format_[i];
        } else if (format_[i + 1] == '%') {
            text += '%';
            ++i;
        } else {
            // One conversion, whatever its letter: the argument is already text.
            text += next < args.size() ? args[next++] : std::string("?");
            ++i;
        }
    }
    return text;
}

void LogHandle::emit(const std::string& text) const {
    const double now = Zim::now();
    if (minimumInterval_ > 0 && lastEmitted_ >= 0 && now - lastEmitted_ < minimumInterval_) {
        ++heldBack_;
        return;
    }
    lastEmitted_ = now;
    std::string line = text;
    if (heldBack_ > 0) {
        line += " (" + std::to_string(heldBack_) + " more held back)";
        heldBack_ = 0;
    }
    if (sink()) {
        sink()(*this, line);
    } else {
        std::cerr << name_ << ": " << line << std::endl;
    }
}

std::vector<const LogHandle*> logCatalogue() {
    return catalogue();
}

} // namespace Zim
