#include "platform/snmp/Conversions.h"

#include "platform/zim/Clock.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Snmp {

namespace {

template <class T> int writeNative(T value, unsigned char* buf, int capacity) {
    if (capacity < static_cast<int>(sizeof value))
        return -1;
    std::memcpy(buf, &value, sizeof value);
    return sizeof value;
}

double& startTime() {
    static double start = Zim::now();
    return start;
}

// Taken when the library is loaded, not at the first uptime asked for.
[[maybe_unused]] const double loadTime = startTime();

} // namespace

int S32ToAsnIntegerF(int32_t value, unsigned char* buf, int capacity) {
    return writeNative(value, buf, capacity);
}

int U32ToAsnUnsignedF(uint32_t value, unsigned char* buf, int capacity) {
    return writeNative(value, buf, capacity);
}

int BoolToAsnIntegerF(bool value, unsigned char* buf, int capacity) {
    return writeNative<int32_t>(value ? 1 : 2, buf, capacity);
}

int StringToAsnOctetStringF(const Zim::String8& value, unsigned char* buf, int capacity) {
    if (capacity < 0 || value.size() > static_cast<size_t>(capacity))
        return -1;
    std::memcpy(buf, value.data(), value.size());
    return static_cast<int>(value.size());
}

int StringToAsnOidF(const Zim::String8& dotted, unsigned char* buf, int capacity) {
    std::string_view text = dotted.view();
    if (!text.empty() && text.front() == '.')
        text.remove_prefix(1);
    if (text.empty())
        text = "0.0";
    // A negative capacity would turn into a huge count of sub-identifiers below.
    if (capacity < 0)
        return -1;
    const size_t maxSubIds = static_cast<size_t>(capacity) / sizeof(oid);
    size_t count = 0;
    while (true) {
        if (count >= maxSubIds || count >= MAX_OID_LEN)
            return -1;
        size_t digits = 0;
        unsigned long long value = 0;
        while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') {
            value = value * 10 + static_cast<unsigned>(text[digits] - '0');
            if (value > 0xffffffffULL)
                return -1;
            ++digits;
        }
        if (digits == 0)
            return -1;
        oid sub = static_cast<oid>(value);
        std::memcpy(buf + count * sizeof(oid), &sub, sizeof sub);
        ++count;
        text.remove_prefix(digits);
        if (text.empty())
            break;
        if (text.front() != '.')
            return -1;
        text.remove_prefix(1);
    }
    if (count < 2)
        return -1;
    // BER packs the first two arcs into one sub-identifier (40 * first + second, at most 2^32 - 1
    // in net-snmp): the first arc is 0, 1 or 2, the second below 40 under 0 and 1.
    oid first = 0;
    oid second = 0;
    std::memcpy(&first, buf, sizeof first);
    std::memcpy(&second, buf + sizeof(oid), sizeof second);
    if (first > 2 || (first < 2 && second >= 40) || (first == 2 && second > 0xffffffffULL - 80))
        return -1;
    return static_cast<int>(count * sizeof(oid));
}

int NowSecondsToUptimeTimeTicksF(double seconds, unsigned char* buf, int capacity) {
    return writeNative<uint32_t>(SecondsToTimeTicks(NowSecondsToUptimeSeconds(seconds)), buf,
                                 capacity);
}

int32_t AsnIntegerToS32(const variable_list* var) {
    if (!var || !var->val.integer)
        return 0;
    return static_cast<int32_t>(static_cast<uint32_t>(*var->val.integer));
}

double NowSecondsToUptimeSeconds(double seconds) {
    double uptime = seconds - startTime();
    return uptime > 0.0 ? uptime : 0.0;
}

// Wraps at 2^32 hundredths as TimeTicks do; fmod keeps that defined for every double.
uint32_t SecondsToTimeTicks(double seconds) {
    const double ticks = std::floor(seconds * 100.0);
    if (!(ticks > 0.0) || !std::isfinite(ticks))
        return 0;
    return static_cast<uint32_t>(std::fmod(ticks, 4294967296.0));
}

void agentStartTimeIs(double seconds) {
    startTime() = seconds;
}

double agentStartTime() {
    return startTime();
}

} // namespace Snmp
