// Bytes in, a state document or a refusal out: whatever the file holds, reading it never
// crashes, never trips a sanitizer and never lets anything but a StateError escape.
#include "state/StateParser.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        auto doc = LldpSnmpd::parseState(text);
        (void)doc;
    } catch (const LldpSnmpd::StateError& refused) {
        // A refusal always says where: "$..." or a line and column.
        if (refused.path().empty() || refused.reason().empty()) {
            __builtin_trap();
        }
    }
    return 0;
}
