// The LLDP-MIB scalars and the per-context registration of the modules, driven in-process
// through net-snmp's registry and the handlers themselves.
#include "mib_test_support.h"

#include "mib/LldpXMedScalars.h"
#include "platform/snmp/HandlerRegistration.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using MibTest::agent;
using MibTest::registrationAt;
using MibTest::TraceCapture;

// One GET (or other mode) through a scalar handler, with the entity the registration points at.
struct ScalarCall {
    explicit ScalarCall(int mode, void* entity) {
        reqinfo.mode = mode;
        registration.my_reg_void = entity;
        const oid name[] = {1, 0, 8802, 1, 1, 2, 1, 1, 1, 0};
        snmp_varlist_add_variable(&request.requestvb, name, std::size(name), ASN_NULL, nullptr, 0);
        request.agent_req_info = &reqinfo;
    }
    ~ScalarCall() { snmp_free_varbind(request.requestvb); }

    int run(Netsnmp_Node_Handler* handler) {
        return handler(nullptr, &registration, &reqinfo, &request);
    }
    long integer() const { return *request.requestvb->val.integer; }
    std::string octets() const {
        return std::string(reinterpret_cast<const char*>(request.requestvb->val.string),
                           request.requestvb->val_len);
    }

    netsnmp_agent_request_info reqinfo{};
    netsnmp_handler_registration registration{};
    netsnmp_request_info request{};
};

TEST(LldpMibScalars, AnswerTheAgentsValuesWithTheirMibTypes) {
    auto& a = agent();
    a.config->messageTxIntervalIs(30);
    a.status->remTablesInsertsIs(7);
    a.localSystem->sysNameIs("leaf1");
    a.localSystem->sysCapSupportedIs({0x14}); // bridge and router

    ScalarCall txInterval(MODE_GET, a.config.get());
    EXPECT_EQ(txInterval.run(handle_lldpMessageTxInterval), SNMP_ERR_NOERROR);
    EXPECT_EQ(txInterval.request.requestvb->type, ASN_INTEGER);
    EXPECT_EQ(txInterval.integer(), 30);

    ScalarCall notificationInterval(MODE_GET, a.config.get());
    notificationInterval.run(handle_lldpNotificationInterval);
    EXPECT_EQ(notificationInterval.integer(), 5);

    ScalarCall inserts(MODE_GET, a.status.get());
    inserts.run(handle_lldpStatsRemTablesInserts);
    EXPECT_EQ(inserts.request.requestvb->type, ASN_GAUGE);
    EXPECT_EQ(inserts.integer(), 7);

    ScalarCall sysName(MODE_GET, a.localSystem.get());
    sysName.run(handle_lldpLocSysName);
    EXPECT_EQ(sysName.octets(), "leaf1");

    ScalarCall caps(MODE_GET, a.localSystem.get());
    caps.run(handle_lldpLocSysCapSupported);
    EXPECT_EQ(caps.octets(), std::string("\x28\x00", 2));
}

TEST(LldpMibScalars, RefuseWritesAndUnknownModes) {
    auto& a = agent();
    for (int mode : {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT,
                     MODE_SET_FREE, MODE_SET_UNDO}) {
        ScalarCall set(mode, a.config.get());
        EXPECT_EQ(set.run(handle_lldpMessageTxInterval), SNMP_ERR_NOERROR);
        EXPECT_EQ(set.request.status, SNMP_ERR_NOTWRITABLE) << "mode " << mode;
    }
    TraceCapture traces("Snmp=2");
    ScalarCall getNext(MODE_GETNEXT, a.config.get());
    EXPECT_EQ(getNext.run(handle_lldpMessageTxInterval), SNMP_ERR_GENERR);
    EXPECT_EQ(getNext.request.status, SNMP_ERR_GENERR);
    EXPECT_TRUE(traces.has("handle_lldpMessageTxInterval - unknown mode from request: 161"));

    ScalarCall noEntity(MODE_GET, nullptr);
    EXPECT_EQ(noEntity.run(handle_lldpMessageTxInterval), SNMP_ERR_GENERR);
    EXPECT_TRUE(traces.has("handle_lldpMessageTxInterval - entity /<sysname>/Statestore/"
                           "l2discovery/lldp/config is not of type Lldp::Config"));
}

TEST(LldpMibScalars, StringsOutsideTheirMibSizeAreErrorsNotTruncations) {
    auto& a = agent();
    TraceCapture traces("Snmp=2");
    a.localSystem->chassisIdIs(Zim::String8());
    ScalarCall emptyChassis(MODE_GET, a.localSystem.get());
    EXPECT_EQ(emptyChassis.run(handle_lldpLocChassisId), SNMP_ERR_NOERROR);
    EXPECT_EQ(emptyChassis.request.status, SNMP_ERR_GENERR) << "on the varbind, for its index";
    EXPECT_TRUE(traces.has("handle_lldpLocChassisId - entity /<sysname>/Statestore/l2discovery/"
                           "lldp/localSystem length out of range: chassisId (0)"));

    a.localSystem->sysDescIs(std::string(256, 'd'));
    ScalarCall longDesc(MODE_GET, a.localSystem.get());
    longDesc.run(handle_lldpLocSysDesc);
    EXPECT_EQ(longDesc.request.status, SNMP_ERR_GENERR);

    a.localSystem->sysDescIs(std::string(255, 'd'));
    ScalarCall longestDesc(MODE_GET, a.localSystem.get());
    EXPECT_EQ(longestDesc.run(handle_lldpLocSysDesc), SNMP_ERR_NOERROR);
    EXPECT_EQ(longestDesc.octets().size(), 255u);

    a.localSystem->sysNameIs(Zim::String8());
    ScalarCall emptyName(MODE_GET, a.localSystem.get());
    EXPECT_EQ(emptyName.run(handle_lldpLocSysName), SNMP_ERR_NOERROR);
    EXPECT_EQ(emptyName.octets(), "");
}

TEST(LldpMibScalars, AValueTheObjectCannotCarryIsSteppedOverByAWalkOfAnyModule) {
    auto& a = agent();
    Lldp::MedInventory inventory;
    inventory.hardwareRev = std::string(33, 'h'); // the MIB's inventory strings hold 32
    a.localSystem->medInventoryIs(inventory);
    a.localSystem->chassisIdIs(Zim::String8());
    netsnmp_pdu bulk{};
    bulk.command = SNMP_MSG_GETBULK;
    netsnmp_agent_session session{};
    session.pdu = &bulk;
    for (auto* handler : {handle_lldpXMedLocHardwareRev, handle_lldpLocChassisId}) {
        ScalarCall get(MODE_GET, a.localSystem.get());
        EXPECT_EQ(get.run(handler), SNMP_ERR_NOERROR);
        EXPECT_EQ(get.request.status, SNMP_ERR_GENERR);

        ScalarCall walk(MODE_GET, a.localSystem.get()); // the scalar helper made it a GET
        walk.reqinfo.asp = &session;
        EXPECT_EQ(walk.run(handler), SNMP_ERR_NOERROR);
        EXPECT_EQ(walk.request.status, SNMP_ERR_NOERROR);
        EXPECT_EQ(walk.request.requestvb->type, ASN_PRIV_RETRY) << "the walk goes on past it";
    }
}

TEST(LldpMibRegistration, ScalarsAreRegisteredUnderTheirNameAndAnUnderscore) {
    agent();
    auto* reg = registrationAt({1, 0, 8802, 1, 1, 2, 1, 1, 1, 0}, "lldpMessageTxInterval_");
    ASSERT_NE(reg, nullptr) << "the name is the scalar's, one underscore, and the empty context";
    EXPECT_EQ(reg->modes & HANDLER_CAN_RWRITE, HANDLER_CAN_RWRITE);
    auto* sysName = registrationAt({1, 0, 8802, 1, 1, 2, 1, 3, 3, 0}, "lldpLocSysName_");
    ASSERT_NE(sysName, nullptr);
    EXPECT_EQ(sysName->modes & HANDLER_CAN_SET, 0) << "read-only scalars refuse SET in net-snmp";
}

TEST(LldpMibRegistration, UnregisteringAContextUndoesItAndMayBeRepeatedAndRedone) {
    agent();
    const auto remTable = std::initializer_list<oid>{1, 0, 8802, 1, 1, 2, 1, 4, 1, 1, 4};
    ASSERT_NE(registrationAt(remTable, "lldpRemTable_"), nullptr);
    ASSERT_TRUE(Snmp::mibContexts().count({"", "LldpMIB"}));

    unregister_LldpMIB("");
    EXPECT_EQ(registrationAt(remTable, "lldpRemTable_"), nullptr);
    EXPECT_EQ(registrationAt({1, 0, 8802, 1, 1, 2, 1, 1, 1, 0}, "lldpMessageTxInterval_"), nullptr);
    EXPECT_FALSE(Snmp::mibContexts().count({"", "LldpMIB"}));

    TraceCapture traces("Snmp=2");
    unregister_LldpMIB(""); // a second time: nothing left to undo
    EXPECT_TRUE(traces.has("Unregistering LldpMIB in context \"\""));
    EXPECT_EQ(traces.lines.size(), 1u);

    init_LldpMIB("");
    EXPECT_NE(registrationAt(remTable, "lldpRemTable_"), nullptr);
    EXPECT_TRUE(Snmp::mibContexts().count({"", "LldpMIB"}));
}

using LldpMibRegistrationDeathTest = ::testing::Test;

TEST_F(LldpMibRegistrationDeathTest, AMissingOrMistypedStateEntityStopsTheHost) {
    agent();
    EXPECT_DEATH(
        {
            SnmpUtil::stateStoreIs(Zim::makePtr<Zim::Dir>("empty"));
            init_LldpMIB("");
        },
        "Can not getEntityRelative\\( Statestore/l2discovery/lldp/config \\) for scalar "
        "lldpMessageTxInterval. Is this path correct\\?(.|\n)*e_lldpMessageTxInterval");
    EXPECT_DEATH(
        {
            auto store = Zim::makePtr<Zim::Dir>("wrong");
            store->mount("Statestore/l2discovery/lldp/config", Zim::makePtr<Zim::Dir>("config"));
            SnmpUtil::stateStoreIs(store);
            init_LldpMIB("");
        },
        "ptr_lldpMessageTxInterval");
    EXPECT_DEATH(
        {
            auto store = Zim::makePtr<Zim::Dir>("noRoot");
            store->mount("Statestore/l2discovery/lldp/config", agent().config);
            SnmpUtil::stateStoreIs(store);
            init_LldpXdot1MIB("");
        },
        "Can not getEntityRelative\\( snmp/lldp/root \\) for table "
        "lldpXdot1ConfigPortVlanTable(.|\n)*\"e\"");
}

} // namespace
