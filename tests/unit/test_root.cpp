// The mirror root: ordered collections that walk in index order, rows that refer to (entity
// rows) or copy (value rows) the agent's state, notifications only for real changes, and walks
// that survive rows going away under them.
#include "model/Root.h"
#include "test_model_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using ModelTest::bytes;
using ModelTest::port;
using ModelTest::RootRecorder;

std::vector<uint16_t> portConfigPorts(const Root& root) {
    std::vector<uint16_t> out;
    for (auto it = root.portConfig().begin(); !it.atEnd(); ++it) out.push_back(it.key().value());
    return out;
}

RemoteVlanName vlanNameRow(uint16_t vlan, const char* name,
                           const Zim::Ptr<const Lldp::RemoteSystem>& neighbour) {
    return {{port(1), 1, Bridging::VlanId(vlan)},
            neighbour,
            Lldp::VlanName(Bridging::VlanId(vlan), name)};
}

class RootTest : public ::testing::Test {
protected:
    Root::Ptr root = rootFactory("root");
    Zim::Ptr<Lldp::RemoteSystem> neighbour = Zim::makePtr<Lldp::RemoteSystem>("neighbour", 1);

    void addPortConfigs(std::initializer_list<uint16_t> ports) {
        for (uint16_t p : ports) {
            root->portConfigIs(port(p),
                               Zim::makePtr<Lldp::PortConfig>("Ethernet" + std::to_string(p)));
        }
    }
};

// --- entity rows ---------------------------------------------------------------------------

TEST_F(RootTest, PortRowsIterateInPortOrderWhateverTheInsertionOrder) {
    addPortConfigs({3, 1, 2});
    EXPECT_EQ(portConfigPorts(*root), (std::vector<uint16_t>{1, 2, 3}));
}

TEST_F(RootTest, EntityRowRefersToTheAgentEntityAndBelongsToTheRoot) {
    const auto agent = Zim::makePtr<Lldp::LocalPort>("Ethernet4");
    const auto row = root->localPortIs(port(4), agent);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->ptr().get(), agent.get());
    EXPECT_EQ(row->ethPortId(), port(4));
    EXPECT_EQ(row->parent(), root.get());
    EXPECT_EQ(root->localPort(port(4)).get(), row.get());
    EXPECT_FALSE(root->localPort(port(5)));
}

TEST_F(RootTest, AskingAgainForTheSameAgentEntityReturnsTheSameRow) {
    const auto agent = Zim::makePtr<Lldp::RemoteSystem>("n", 3);
    const auto first = root->remoteSystemIs({port(1), 3}, agent);
    const auto second = root->remoteSystemIs({port(1), 3}, agent);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(root->remoteSystem().size(), 1u);
}

TEST_F(RootTest, AnotherAgentEntityUnderAKnownKeyIsRefusedAndTheRowKept) {
    const auto first = Zim::makePtr<Lldp::PortStatus>("Ethernet1");
    const auto second = Zim::makePtr<Lldp::PortStatus>("Ethernet1");
    const auto row = root->portStatusIs(port(1), first);
    try {
        root->portStatusIs(port(1), second);
        FAIL() << "a second agent entity under port 1 was accepted";
    } catch (const Zim::NameInUseException& e) {
        EXPECT_EQ(std::string(e.what()).rfind("Reinstantiating the entity with name 1 where "
                                              "constructor parameter attribute _ptr has a "
                                              "different value of ",
                                              0),
                  0u)
            << e.what();
    }
    EXPECT_EQ(root->portStatus(port(1)).get(), row.get());
    EXPECT_EQ(row->ptr().get(), first.get());
}

TEST_F(RootTest, DeletingAnAbsentKeyChangesNothing) {
    addPortConfigs({1, 2});
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    RootRecorder recorder(root);

    root->portConfigDel(port(7));
    root->remoteVlanNameDel({port(1), 1, Bridging::VlanId(11)});
    root->localManagementAddressDel(ModelTest::ipv4(1));

    EXPECT_EQ(portConfigPorts(*root), (std::vector<uint16_t>{1, 2}));
    EXPECT_EQ(root->remoteVlanName().size(), 1u);
    EXPECT_TRUE(recorder.events.empty());
}

// --- value rows ----------------------------------------------------------------------------

TEST_F(RootTest, AChangedValueForAnExistingKeyKeepsOneRowWithTheNewValue) {
    const RemoteManagementAddressKey key(port(1), 1, ModelTest::ipv4(1));
    root->remoteManagementAddressIs(
        {key, neighbour, ModelTest::managementAddress(ModelTest::ipv4(1), 5)});
    root->remoteManagementAddressIs(
        {key, neighbour, ModelTest::managementAddress(ModelTest::ipv4(1), 6)});

    ASSERT_EQ(root->remoteManagementAddress().size(), 1u);
    const auto* row = root->remoteManagementAddress(key);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->rawValue.ifId(), 6);
    EXPECT_EQ(row->ptr.get(), neighbour.get());
}

TEST_F(RootTest, ValueRowsAreEqualOnlyWhenKeyNeighbourAndValueAllAre) {
    const auto other = Zim::makePtr<Lldp::RemoteSystem>("neighbour", 1);
    const auto row = vlanNameRow(10, "ten", neighbour);
    EXPECT_EQ(row, vlanNameRow(10, "ten", neighbour));
    EXPECT_NE(row, vlanNameRow(10, "ten", other));  // same name, another entity
    EXPECT_NE(row, vlanNameRow(10, "TEN", neighbour));
    EXPECT_NE(row, vlanNameRow(11, "ten", neighbour));
}

TEST_F(RootTest, ValueRowTextNamesItsKeyNeighbourAndValue) {
    EXPECT_EQ(valueToStrep(vlanNameRow(10, "ten", neighbour)),
              "Value('Lldp::Snmp::RemoteVlanName', ** {'key': "
              "Value('Lldp::Snmp::RemoteVlanName::Key', ** {'ethPortId': 1, 'index': 1, "
              "'vlanId': 10}), 'ptr': /neighbour, 'rawValue': Value('Lldp::VlanName', ** {'id': "
              "10, 'vlanName': 'ten'})})");
}

// --- notifications -------------------------------------------------------------------------

TEST_F(RootTest, ReactorsHearOncePerRealChangeAndNeverForTheSameValue) {
    RootRecorder recorder(root);
    const auto agent = Zim::makePtr<Lldp::PortConfig>("Ethernet1");
    root->portConfigIs(port(1), agent);
    root->portConfigIs(port(1), agent);
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    root->remoteVlanNameIs(vlanNameRow(10, "renamed", neighbour));
    root->remoteVlanNameDel({port(1), 1, Bridging::VlanId(10)});
    root->remoteVlanNameDel({port(1), 1, Bridging::VlanId(10)});

    const std::string vlanKey =
        "RemoteVlanName " + valueToStrep(RemoteVlanNameKey(port(1), 1, Bridging::VlanId(10)));
    EXPECT_EQ(recorder.events,
              (std::vector<std::string>{"PortConfig 1", vlanKey, vlanKey, vlanKey}));
}

TEST_F(RootTest, DeletingEverythingTellsEachRowOnce) {
    addPortConfigs({2, 1});
    RootRecorder recorder(root);
    root->portConfigDelAll();
    EXPECT_EQ(recorder.events, (std::vector<std::string>{"PortConfig 1", "PortConfig 2"}));
    EXPECT_TRUE(root->portConfig().empty());
}

// --- walks that survive removals -----------------------------------------------------------

TEST_F(RootTest, AWalkSurvivesRemovalOfItsCurrentRow) {
    addPortConfigs({1, 2, 3, 4});
    std::vector<uint16_t> seen;
    for (auto it = root->portConfig().begin(); !it.atEnd(); ++it) {
        seen.push_back(it.key().value());
        if (it.key() == port(2)) root->portConfigDel(it);
    }
    EXPECT_EQ(seen, (std::vector<uint16_t>{1, 2, 3, 4}));
    EXPECT_EQ(portConfigPorts(*root), (std::vector<uint16_t>{1, 3, 4}));
}

TEST_F(RootTest, AWalkSurvivesRemovalOfTheNextRow) {
    addPortConfigs({1, 2, 3, 4});
    std::vector<uint16_t> seen;
    for (auto it = root->portConfig().begin(); !it.atEnd(); ++it) {
        seen.push_back(it.key().value());
        if (it.key() == port(2)) root->portConfigDel(port(3));
    }
    EXPECT_EQ(seen, (std::vector<uint16_t>{1, 2, 4}));
}

TEST_F(RootTest, AWalkEndsCleanlyWhenEverythingIsRemovedUnderIt) {
    addPortConfigs({1, 2, 3});
    std::vector<uint16_t> seen;
    for (auto it = root->portConfig().begin(); !it.atEnd(); ++it) {
        seen.push_back(it.key().value());
        if (it.key() == port(2)) root->portConfigDelAll();
    }
    EXPECT_EQ(seen, (std::vector<uint16_t>{1, 2}));
}

TEST_F(RootTest, AWalkStandingOnARowSeesItsNewValue) {
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    auto it = root->remoteVlanName().begin();
    root->remoteVlanNameIs(vlanNameRow(10, "renamed", neighbour));
    ASSERT_FALSE(it.atEnd());
    EXPECT_EQ(it.value().rawValue.vlanName(), Zim::String8("renamed"));
}

TEST_F(RootTest, AWalkAndItsRowsOutliveTheRoot) {
    addPortConfigs({1, 2});
    auto it = root->portConfig().begin();
    const auto row = root->portConfig(port(2));
    root = nullptr;
    EXPECT_EQ(row->parent(), nullptr);
    ASSERT_FALSE(it.atEnd());
    ++it;
    ASSERT_FALSE(it.atEnd());
    EXPECT_EQ(it.value().get(), row.get());
    ++it;
    EXPECT_TRUE(it.atEnd());
}

// --- local management addresses and their port lists ---------------------------------------

TEST_F(RootTest, LocalManagementAddressRowIsMadeOnceByKey) {
    const auto row = root->localManagementAddressIs(ModelTest::ipv4(1));
    EXPECT_EQ(root->localManagementAddressIs(ModelTest::ipv4(1)).get(), row.get());
    EXPECT_EQ(row->key(), ModelTest::ipv4(1));
    EXPECT_EQ(row->parent(), root.get());
    root->localManagementAddressDel(ModelTest::ipv4(1));
    EXPECT_FALSE(root->localManagementAddress(ModelTest::ipv4(1)));
    EXPECT_EQ(row->parent(), nullptr);
}

TEST_F(RootTest, PortListIsKeptUnderItsNameAndReplacedUnderAnother) {
    const auto row = root->localManagementAddressIs(ModelTest::ipv4(1));
    const auto list = row->portsTxEnableIs("portsTxEnable");
    list->portIdIs(port(3));
    EXPECT_EQ(row->portsTxEnableIs("portsTxEnable").get(), list.get());
    EXPECT_EQ(list->parent(), row.get());

    const auto other = row->portsTxEnableIs("other");
    EXPECT_NE(other.get(), list.get());
    EXPECT_TRUE(other->portId().empty());
    EXPECT_EQ(list->parent(), nullptr);

    row->portsTxEnableDel();
    EXPECT_FALSE(row->portsTxEnable());
    EXPECT_EQ(other->parent(), nullptr);
}

TEST_F(RootTest, APortListHeldElsewhereLosesItsParentWithTheAddress) {
    auto row = root->localManagementAddressIs(ModelTest::ipv4(1));
    const auto list = row->portsTxEnableIs("portsTxEnable");
    root->localManagementAddressDel(ModelTest::ipv4(1));
    row = nullptr;
    EXPECT_EQ(list->parent(), nullptr);
}

TEST(PortList, SettingAPortTwiceLeavesOneMember) {
    PortList list("portsTxEnable");
    list.portIdIs(port(5));
    list.portIdIs(port(5));
    list.newPortId(port(6));
    EXPECT_EQ(list.portId().size(), 2u);
    ASSERT_NE(list.portId().find(5), nullptr);
    EXPECT_EQ(*list.portId().find(5), port(5));
    list.portIdDel(5);
    list.portIdDel(9);
    EXPECT_EQ(list.portId().keys(), (std::vector<unsigned short>{6}));
    list.portIdDelAll();
    EXPECT_TRUE(list.portId().empty());
}

}  // namespace
