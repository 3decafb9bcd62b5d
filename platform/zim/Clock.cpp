#include "platform/zim/Clock.h"

#include <chrono>

namespace Zim {

namespace {
std::optional<double> fixedNow;
}

double now() {
    if (fixedNow)
        return *fixedNow;
    using namespace std::chrono;
    return duration<double>(system_clock::now().time_since_epoch()).count();
}

void nowIs(std::optional<double> fixed) {
    fixedNow = fixed;
}

} // namespace Zim
