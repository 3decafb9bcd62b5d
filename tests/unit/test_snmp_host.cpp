// The SNMP host's services to the plug-in: the buffers its conversion functors fill for
// snmp_set_var_typed_value, and its uptime arithmetic.
#include "platform/snmp/Conversions.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace {

using ::testing::ElementsAre;

uint32_t readNative(const unsigned char* buf) {
    uint32_t value;
    std::memcpy(&value, buf, sizeof value);
    return value;
}

// --- object identifiers -------------------------------------------------------------------

// The sub-identifiers of dotted text, or none when it is refused.
std::vector<oid> parseOid(const std::string& text, int capacity = 8192) {
    std::vector<unsigned char> buf(8192);
    const int n = Snmp::StringToAsnOidF(text, buf.data(), capacity);
    if (n < 0)
        return {};
    std::vector<oid> out(n / sizeof(oid));
    std::memcpy(out.data(), buf.data(), n);
    return out;
}

TEST(SnmpHostConversions, DottedTextBecomesSubIdentifiersOrIsRefused) {
    EXPECT_THAT(parseOid("1.3.4294967295"), ElementsAre(1, 3, 4294967295u));
    EXPECT_THAT(parseOid(".1.3.6.1.2.1.2.2.1.1"), ElementsAre(1, 3, 6, 1, 2, 1, 2, 2, 1, 1));
    EXPECT_THAT(parseOid(""), ElementsAre(0, 0));
    EXPECT_THAT(parseOid("."), ElementsAre(0, 0));
    for (const char* bad : {"1..3", "abc", "1.3.", "1.3.6x", "1.-3", "1.3.4294967296", " 1.3",
                            "1.3.99999999999999999999999"}) {
        EXPECT_THAT(parseOid(bad), ElementsAre()) << '"' << bad << '"';
    }
    // Only OIDs whose first two arcs BER can pack into one sub-identifier.
    EXPECT_THAT(parseOid("0.39"), ElementsAre(0, 39));
    EXPECT_THAT(parseOid("2.4294967215.1"), ElementsAre(2, 4294967215u, 1));
    for (const char* unsendable : {"3.1", "4294967295.0", "0.40", "1.40.1", "2.4294967216"}) {
        EXPECT_THAT(parseOid(unsendable), ElementsAre()) << '"' << unsendable << '"';
    }
    const int three = 3 * static_cast<int>(sizeof(oid));
    EXPECT_THAT(parseOid("1.3.6", three), ElementsAre(1, 3, 6));
    EXPECT_THAT(parseOid("1.3.6.1", three), ElementsAre());
    EXPECT_THAT(parseOid("1.3", -1), ElementsAre());
    std::string longest = "1";
    for (int i = 1; i < MAX_OID_LEN; ++i)
        longest += ".1";
    EXPECT_EQ(parseOid(longest).size(), static_cast<size_t>(MAX_OID_LEN));
    EXPECT_THAT(parseOid(longest + ".1"), ElementsAre());
}

// --- time -----------------------------------------------------------------------------------

TEST(SnmpHostTime, UptimeCountsFromTheAgentStartInHundredthsRoundedDownAndWrapping) {
    const double saved = Snmp::agentStartTime();
    Snmp::agentStartTimeIs(1000.0);
    EXPECT_DOUBLE_EQ(Snmp::NowSecondsToUptimeSeconds(1012.5), 12.5);
    EXPECT_EQ(Snmp::NowSecondsToUptimeSeconds(999.0), 0.0);
    unsigned char buf[4];
    ASSERT_EQ(Snmp::NowSecondsToUptimeTimeTicksF(1012.5, buf, sizeof buf), 4);
    EXPECT_EQ(readNative(buf), 1250u);
    EXPECT_EQ(Snmp::NowSecondsToUptimeTimeTicksF(1012.5, buf, 3), -1);
    Snmp::agentStartTimeIs(saved);

    std::vector<uint32_t> ticks;
    for (double seconds : {0.0, 1.5, 12.349, 0.009, -1.0, std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity(), 42949672.955, 42949673.0})
        ticks.push_back(Snmp::SecondsToTimeTicks(seconds));
    EXPECT_EQ(ticks, (std::vector<uint32_t>{0, 150, 1234, 0, 0, 0, 0, 4294967295u, 4}));
    for (double seconds : {1e20, 1e300, -1e300, std::numeric_limits<double>::max()})
        (void)Snmp::SecondsToTimeTicks(seconds); // the sanitizer build catches undefined casts
}

} // namespace
