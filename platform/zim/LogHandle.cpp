#include "platform/zim/LogHandle.h"

#include <algorithm>

namespace Zim {

const char* const NoActionRequired = "No action is required.";

namespace {
std::vector<const LogHandle*>& catalogue() {
    static std::vector<const LogHandle*> handles;
    return handles;
}
} // namespace

LogHandle::LogHandle(std::string name, LogSeverity severity, std::string format,
                     std::string explanation, std::string recommendedAction, double minimumInterval,
                     double multiplier, int flag)
    : name_(std::move(name)), severity_(severity), format_(std::move(format)),
      explanation_(std::move(explanation)), recommendedAction_(std::move(recommendedAction)),
      minimumInterval_(minimumInterval), multiplier_(multiplier), flag_(flag) {
    catalogue().push_back(this);
}

LogHandle::~LogHandle() {
    std::erase(catalogue(), this);
}

std::vector<const LogHandle*> logCatalogue() {
    return catalogue();
}

} // namespace Zim
