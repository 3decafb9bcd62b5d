// The remote-tables change notification: sent on the first change after a quiet period, then
// at most once every 5 seconds (changes in between are dropped, not deferred), with the four
// counters as Gauge32 after snmpTrapOID.0.
#include "model/LldpSm.h"
#include "test_model_support.h"

#include "platform/snmp/SnmpUtil.h"
#include "platform/snmp/TrapManager.h"
#include "platform/zim/Clock.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Lldp::Snmp;

// One varbind as the trap manager handed it to its sender.
struct Varbind {
    std::vector<oid> name;
    u_char type;
    std::vector<oid> oidValue; // ASN_OBJECT_ID
    unsigned long number = 0;  // ASN_GAUGE
};

using Notification = std::vector<Varbind>;

const std::vector<oid> snmpTrapOid{1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
const std::vector<oid> lldpRemTablesChange{1, 0, 8802, 1, 1, 2, 0, 0, 1};

std::vector<oid> statsCounter(oid column) {
    return {1, 0, 8802, 1, 1, 2, 1, 2, column, 0};
}

class NotificationThrottleTest : public ::testing::Test {
protected:
    ModelTest::PublishedRootReset published;
    Root::Ptr root = rootFactory("root");
    Zim::Ptr<Lldp::AllStatus> status = Zim::makePtr<Lldp::AllStatus>("all");
    Zim::Ptr<Lldp::Config> config = Zim::makePtr<Lldp::Config>("config");
    Zim::Ptr<Snmp::TrapManager> traps = Snmp::TrapManager::instance();
    Zim::Ptr<Snmp::Notification> notification;
    std::vector<Notification> sent;
    LldpSm::Ptr sm;

    void SetUp() override {
        const auto snmpConfig = SnmpUtil::getSnmpConfig();
        notification =
            snmpConfig->notificationConfigIs("lldp")->notificationIs("lldpRemTablesChange");
        notification->enabledIs(true);
        traps->senderIs([this](variable_list* vars, const Zim::String8& context) {
            EXPECT_EQ(context, Zim::String8(""));
            sent.push_back(copy(vars));
        });
        traps->flush(); // whatever an earlier test left behind
        sent.clear();
        Zim::nowIs(1000.0);
        sm = root->lldpSmIs(status, nullptr, config, root);
    }

    void TearDown() override {
        traps->flush();
        traps->senderIs({});
        Zim::nowIs(std::nullopt);
        root->lldpSmDel();
        sm = nullptr;
    }

    static Notification copy(const variable_list* vars) {
        Notification out;
        for (const variable_list* v = vars; v; v = v->next_variable) {
            Varbind b{{v->name, v->name + v->name_length}, v->type, {}, 0};
            if (v->type == ASN_OBJECT_ID) {
                b.oidValue.assign(v->val.objid, v->val.objid + v->val_len / sizeof(oid));
            } else if (v->val.integer) {
                b.number = static_cast<unsigned long>(*v->val.integer);
            }
            out.push_back(std::move(b));
        }
        return out;
    }

    // The agent reports a change of its remote tables at the given time.
    void changeAt(double now) {
        Zim::nowIs(now);
        status->remTablesLastChangeTimeIs(status->remTablesLastChangeTime() + 1.0);
    }

    size_t sentCount() {
        traps->flush();
        return sent.size();
    }
};

// --- the throttle --------------------------------------------------------------------------

TEST_F(NotificationThrottleTest, OnlyARealChangeSetsItOffAndNotWithinFiveSecondsOfTheLast) {
    EXPECT_EQ(sentCount(), 0u); // making the machine sends nothing
    changeAt(1000.0);
    EXPECT_EQ(traps->queued(), 1u);
    EXPECT_EQ(sentCount(), 1u);
    changeAt(1004.9);
    EXPECT_EQ(sentCount(), 1u);
    EXPECT_EQ(sm->lastNotificationTime(), 1000.0);
    changeAt(1005.0);
    EXPECT_EQ(sentCount(), 2u);
    EXPECT_EQ(sm->lastNotificationTime(), 1005.0);

    Zim::nowIs(1010.0);
    status->remTablesLastChangeTimeIs(status->remTablesLastChangeTime()); // the same value
    status->remTablesInsertsIs(9); // other attributes are not watched
    EXPECT_EQ(sentCount(), 2u);
}

TEST_F(NotificationThrottleTest, ABurstGivesOneNotificationOfTheTrapOidAndTheCountersAsGauges) {
    status->remTablesInsertsIs(3);
    status->remTablesDeletesIs(4294967295u);
    status->remTablesDropsIs(5);
    status->remTablesAgeoutsIs(6);
    changeAt(1000.0);
    for (double t : {1000.5, 1001.0, 1002.0, 1004.99}) {
        status->remTablesInsertsIs(status->remTablesInserts() + 1);
        changeAt(t);
    }
    ASSERT_EQ(sentCount(), 1u);
    const auto& vars = sent[0];
    ASSERT_EQ(vars.size(), 5u);
    EXPECT_EQ(vars[0].name, snmpTrapOid);
    EXPECT_EQ(vars[0].type, ASN_OBJECT_ID);
    EXPECT_EQ(vars[0].oidValue, lldpRemTablesChange);
    const unsigned long counters[] = {3, 4294967295u, 5, 6}; // of the notification's own moment
    for (oid column = 2; column <= 5; ++column) {
        EXPECT_EQ(vars[column - 1].name, statsCounter(column)) << column;
        EXPECT_EQ(vars[column - 1].type, ASN_GAUGE) << column;
        EXPECT_EQ(vars[column - 1].number, counters[column - 2]) << column;
    }

    // Nothing is sent for the dropped changes when the interval ends: only the next change.
    Zim::nowIs(1010.0);
    EXPECT_EQ(sentCount(), 1u);
    changeAt(1010.0);
    ASSERT_EQ(sentCount(), 2u);
    EXPECT_EQ(sent[1][1].number, 7u);
}

TEST_F(NotificationThrottleTest, ADisabledNotificationIsNotQueuedButCountsAsSent) {
    notification->enabledIs(false, "switched off by the operator");
    changeAt(1000.0);
    EXPECT_EQ(traps->queued(), 0u);
    EXPECT_EQ(sm->lastNotificationTime(), 1000.0);

    notification->enabledIs(true);
    changeAt(1003.0);
    EXPECT_EQ(sentCount(), 0u);
    changeAt(1005.0);
    EXPECT_EQ(sentCount(), 1u);
}

TEST_F(NotificationThrottleTest, AnotherStatusIsReportedOnceAndOnlyTheFollowedStatusSetsItOff) {
    const auto other = Zim::makePtr<Lldp::AllStatus>("other");
    other->remTablesDeletesIs(6);
    sm->statusIs(other);
    ASSERT_EQ(sentCount(), 1u);
    EXPECT_EQ(sent[0][2].number, 6u);

    Zim::nowIs(1010.0);
    sm->statusIs(other);
    status->remTablesLastChangeTimeIs(99.0);
    EXPECT_EQ(sentCount(), 1u);
    other->remTablesLastChangeTimeIs(99.0);
    EXPECT_EQ(sentCount(), 2u);

    Zim::nowIs(1020.0);
    sm->statusDel();
    other->remTablesLastChangeTimeIs(100.0);
    sm->invoke("handleLastChangeTime", {});
    EXPECT_EQ(sentCount(), 2u);
}

} // namespace
