// The SNMP host's services to the plug-in: the buffers its conversion functors fill for
// snmp_set_var_typed_value, its uptime arithmetic, and the notification configuration.
#include "platform/snmp/Config.h"
#include "platform/snmp/Conversions.h"
#include "platform/snmp/SnmpUtil.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

template <class T> T readNative(const unsigned char* buf) {
    T value;
    std::memcpy(&value, buf, sizeof value);
    return value;
}

// --- integers and booleans ------------------------------------------------------------------

TEST(SnmpHostConversions, IntegersAreWrittenAsNativeFourByteWords) {
    unsigned char buf[8] = {};
    ASSERT_EQ(Snmp::S32ToAsnIntegerF(-5, buf, sizeof buf), 4);
    EXPECT_EQ(readNative<int32_t>(buf), -5);
    ASSERT_EQ(Snmp::U32ToAsnUnsignedF(0xffffffffu, buf, sizeof buf), 4);
    EXPECT_EQ(readNative<uint32_t>(buf), 0xffffffffu);
}

TEST(SnmpHostConversions, IntegersRefuseABufferShorterThanTheirWord) {
    unsigned char buf[4] = {};
    EXPECT_EQ(Snmp::S32ToAsnIntegerF(1, buf, 3), -1);
    EXPECT_EQ(Snmp::U32ToAsnUnsignedF(1, buf, 0), -1);
    EXPECT_EQ(Snmp::BoolToAsnIntegerF(true, buf, -1), -1);
    EXPECT_EQ(Snmp::S32ToAsnIntegerF(7, buf, 4), 4);
}

TEST(SnmpHostConversions, BooleansAreTruthValuesOneAndTwo) {
    unsigned char buf[4] = {};
    ASSERT_EQ(Snmp::BoolToAsnIntegerF(true, buf, sizeof buf), 4);
    EXPECT_EQ(readNative<int32_t>(buf), 1);
    ASSERT_EQ(Snmp::BoolToAsnIntegerF(false, buf, sizeof buf), 4);
    EXPECT_EQ(readNative<int32_t>(buf), 2);
}

TEST(SnmpHostConversions, IndexIntegerIsNarrowedTo32Bits) {
    EXPECT_EQ(Snmp::AsnIntegerToS32(nullptr), 0);
    netsnmp_variable_list var{};
    EXPECT_EQ(Snmp::AsnIntegerToS32(&var), 0);
    long value = -7;
    var.val.integer = &value;
    EXPECT_EQ(Snmp::AsnIntegerToS32(&var), -7);
    value = 0xffffffffL;
    EXPECT_EQ(Snmp::AsnIntegerToS32(&var), -1);
    value = 4094;
    EXPECT_EQ(Snmp::AsnIntegerToS32(&var), 4094);
}

// --- octet strings --------------------------------------------------------------------------

TEST(SnmpHostConversions, OctetStringsAreCopiedByteForByte) {
    std::array<unsigned char, 8> buf;
    buf.fill(0xaa);
    const Zim::String8 value(std::string_view("\x00\xff"
                                              "a",
                                              3));
    ASSERT_EQ(Snmp::StringToAsnOctetStringF(value, buf.data(), 3), 3);
    EXPECT_THAT(std::vector<unsigned char>(buf.begin(), buf.begin() + 4),
                ElementsAre(0x00, 0xff, 'a', 0xaa));
    EXPECT_EQ(Snmp::StringToAsnOctetStringF(Zim::String8(), buf.data(), 0), 0);
}

TEST(SnmpHostConversions, OctetStringLongerThanTheCapacityIsRefused) {
    std::array<unsigned char, 8> buf;
    buf.fill(0xaa);
    EXPECT_EQ(Snmp::StringToAsnOctetStringF("abcd", buf.data(), 3), -1);
    EXPECT_EQ(buf[0], 0xaa) << "a refused string must not be half written";
    EXPECT_EQ(Snmp::StringToAsnOctetStringF("a", buf.data(), -1), -1);
}

// --- object identifiers ---------------------------------------------------------------------

std::vector<oid> parseOid(const char* text, int capacity = 1024) {
    std::vector<unsigned char> buf(capacity > 0 ? capacity : 1);
    const int n = Snmp::StringToAsnOidF(text, buf.data(), capacity);
    if (n < 0)
        return {};
    EXPECT_EQ(n % static_cast<int>(sizeof(oid)), 0);
    std::vector<oid> out(n / sizeof(oid));
    std::memcpy(out.data(), buf.data(), n);
    return out;
}

TEST(SnmpHostConversions, DottedTextBecomesSubIdentifiers) {
    EXPECT_THAT(parseOid("1.3.6.1.4.1"), ElementsAre(1, 3, 6, 1, 4, 1));
    EXPECT_THAT(parseOid(".1.3.6.1.2.1.2.2.1.1"), ElementsAre(1, 3, 6, 1, 2, 1, 2, 2, 1, 1));
    EXPECT_THAT(parseOid("1.3.4294967295"), ElementsAre(1, 3, 4294967295u));
}

TEST(SnmpHostConversions, EmptyTextIsZeroDotZero) {
    EXPECT_THAT(parseOid(""), ElementsAre(0, 0));
    EXPECT_THAT(parseOid("."), ElementsAre(0, 0));
}

TEST(SnmpHostConversions, MalformedDottedTextIsRefused) {
    unsigned char buf[1024];
    for (const char* bad : {"1..3", "abc", "1.3.", "1.3.6x", "1.-3", "1.3.4294967296", " 1.3",
                            "1.3.99999999999999999999999"}) {
        EXPECT_EQ(Snmp::StringToAsnOidF(bad, buf, sizeof buf), -1) << '"' << bad << '"';
    }
}

TEST(SnmpHostConversions, OidThatDoesNotFitTheCapacityIsRefused) {
    const int three = 3 * static_cast<int>(sizeof(oid));
    EXPECT_THAT(parseOid("1.3.6", three), ElementsAre(1, 3, 6));
    EXPECT_THAT(parseOid("1.3.6.1", three), ElementsAre());
    EXPECT_THAT(parseOid("1.3", -1), ElementsAre());
}

TEST(SnmpHostConversions, OidLongerThanNetSnmpAllowsIsRefused) {
    std::string text = "1";
    for (int i = 1; i < MAX_OID_LEN; ++i)
        text += ".1";
    EXPECT_EQ(parseOid(text.c_str(), 8192).size(), static_cast<size_t>(MAX_OID_LEN));
    text += ".1";
    EXPECT_TRUE(parseOid(text.c_str(), 8192).empty());
}

// --- time -----------------------------------------------------------------------------------

class SnmpHostTime : public ::testing::Test {
protected:
    void SetUp() override { saved_ = Snmp::agentStartTime(); }
    void TearDown() override { Snmp::agentStartTimeIs(saved_); }
    double saved_ = 0;
};

TEST_F(SnmpHostTime, UptimeCountsFromTheAgentStart) {
    Snmp::agentStartTimeIs(1000.0);
    EXPECT_DOUBLE_EQ(Snmp::NowSecondsToUptimeSeconds(1012.5), 12.5);
    EXPECT_DOUBLE_EQ(Snmp::NowSecondsToUptimeSeconds(1000.0), 0.0);
}

TEST_F(SnmpHostTime, TimesBeforeTheAgentStartCountAsTheStart) {
    Snmp::agentStartTimeIs(1000.0);
    EXPECT_EQ(Snmp::NowSecondsToUptimeSeconds(999.0), 0.0);
    EXPECT_EQ(Snmp::NowSecondsToUptimeSeconds(0.0), 0.0);
}

TEST_F(SnmpHostTime, SecondsBecomeHundredthsRoundedDown) {
    EXPECT_EQ(Snmp::SecondsToTimeTicks(0.0), 0u);
    EXPECT_EQ(Snmp::SecondsToTimeTicks(1.5), 150u);
    EXPECT_EQ(Snmp::SecondsToTimeTicks(12.349), 1234u);
    EXPECT_EQ(Snmp::SecondsToTimeTicks(0.009), 0u);
}

TEST_F(SnmpHostTime, NegativeOrUndefinedSecondsAreZeroTicks) {
    EXPECT_EQ(Snmp::SecondsToTimeTicks(-1.0), 0u);
    EXPECT_EQ(Snmp::SecondsToTimeTicks(std::numeric_limits<double>::quiet_NaN()), 0u);
}

TEST_F(SnmpHostTime, TicksWrapAsAThirtyTwoBitCounter) {
    EXPECT_EQ(Snmp::SecondsToTimeTicks(42949672.955), 4294967295u);
    EXPECT_EQ(Snmp::SecondsToTimeTicks(42949673.0), 4u);
}

TEST_F(SnmpHostTime, TimeTicksFunctorWritesTheUptimeInHundredths) {
    Snmp::agentStartTimeIs(1000.0);
    unsigned char buf[4];
    ASSERT_EQ(Snmp::NowSecondsToUptimeTimeTicksF(1012.5, buf, sizeof buf), 4);
    EXPECT_EQ(readNative<uint32_t>(buf), 1250u);
    ASSERT_EQ(Snmp::NowSecondsToUptimeTimeTicksF(900.0, buf, sizeof buf), 4);
    EXPECT_EQ(readNative<uint32_t>(buf), 0u);
    EXPECT_EQ(Snmp::NowSecondsToUptimeTimeTicksF(1012.5, buf, 3), -1);
}

// --- notification configuration -------------------------------------------------------------

TEST(SnmpHostConfig, UnconfiguredGroupOrNotificationIsNotSentAndSaysWhich) {
    auto config = Zim::makePtr<Snmp::Config>();
    auto status = config->notificationStatus("lldp", "lldpRemTablesChange");
    EXPECT_FALSE(status.send);
    EXPECT_THAT(status.reason.str(), HasSubstr("lldp"));
    config->notificationConfigIs("lldp");
    status = config->notificationStatus("lldp", "lldpRemTablesChange");
    EXPECT_FALSE(status.send);
    EXPECT_THAT(status.reason.str(), HasSubstr("lldpRemTablesChange"));
}

TEST(SnmpHostConfig, DisabledNotificationGivesItsReason) {
    auto config = Zim::makePtr<Snmp::Config>();
    auto notification = config->notificationConfigIs("lldp")->notificationIs("lldpRemTablesChange");
    notification->enabledIs(false, "no trap receivers configured");
    auto status = config->notificationStatus("lldp", "lldpRemTablesChange");
    EXPECT_FALSE(status.send);
    EXPECT_EQ(status.reason, "no trap receivers configured");
}

TEST(SnmpHostConfig, EnabledNotificationIsSentWithoutAReason) {
    auto config = Zim::makePtr<Snmp::Config>();
    auto notification = config->notificationConfigIs("lldp")->notificationIs("lldpRemTablesChange");
    notification->enabledIs(false, "off for maintenance");
    notification->enabledIs(true);
    const auto status = config->notificationStatus("lldp", "lldpRemTablesChange");
    EXPECT_TRUE(status.send);
    EXPECT_TRUE(status.reason.empty());
}

TEST(SnmpHostConfig, RepeatedLookupsReturnTheSameEntities) {
    auto config = Zim::makePtr<Snmp::Config>();
    auto group = config->notificationConfigIs("lldp");
    EXPECT_EQ(config->notificationConfigIs("lldp"), group);
    EXPECT_EQ(config->notificationConfig("lldp"), group);
    EXPECT_FALSE(config->notificationConfig("other"));
    auto n = group->notificationIs("lldpRemTablesChange");
    EXPECT_EQ(group->notificationIs("lldpRemTablesChange"), n);
    EXPECT_EQ(n->fullName(), "/config/lldp/lldpRemTablesChange");
}

TEST(SnmpHostConfig, NotificationOutlivingItsConfigurationNoLongerNamesIt) {
    Zim::Ptr<Snmp::Notification> notification;
    {
        auto config = Zim::makePtr<Snmp::Config>();
        notification = config->notificationConfigIs("lldp")->notificationIs("lldpRemTablesChange");
    }
    EXPECT_EQ(notification->parent(), nullptr);
    EXPECT_EQ(notification->fullName(), "/lldpRemTablesChange");
}

TEST(SnmpHostConfig, HostConfigurationIsOneSharedEntity) {
    EXPECT_EQ(SnmpUtil::getSnmpConfig(), SnmpUtil::getSnmpConfig());
    EXPECT_TRUE(SnmpUtil::getSnmpConfig());
}

TEST(SnmpHostStateStore, EntitiesAreFoundRelativeToTheMount) {
    const auto saved = SnmpUtil::stateStore();
    SnmpUtil::stateStoreIs(nullptr);
    EXPECT_FALSE(SnmpUtil::getEntityRelative("snmp/lldp/root"));
    auto store = Zim::makePtr<Zim::Dir>("sysname");
    auto config = Zim::makePtr<Snmp::Config>();
    store->mount("snmp/config", config);
    SnmpUtil::stateStoreIs(store);
    EXPECT_EQ(SnmpUtil::getEntityRelative("snmp/config"), config);
    EXPECT_FALSE(SnmpUtil::getEntityRelative("snmp/lldp/root"));
    EXPECT_FALSE(SnmpUtil::getEntityRelative(nullptr));
    SnmpUtil::stateStoreIs(saved);
}

} // namespace
