// The mirror root: ordered collections that walk in index order, rows that refer to (entity
// rows) or copy (value rows) the agent's state, notifications only for real changes, and walks
// that survive rows coming and going under them.
#include "model/Root.h"
#include "test_model_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace Lldp::Snmp;
using ModelTest::ipv4;
using ModelTest::port;
using ModelTest::RootRecorder;

using Ports = std::vector<uint16_t>;

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
        for (uint16_t p : ports)
            root->portConfigIs(port(p),
                               Zim::makePtr<Lldp::PortConfig>("Ethernet" + std::to_string(p)));
    }
    Ports portConfigPorts() const {
        Ports out;
        for (auto it = root->portConfig().begin(); !it.atEnd(); ++it)
            out.push_back(it.key().value());
        return out;
    }
};

// --- rows ----------------------------------------------------------------------------------

TEST_F(RootTest, EntityRowsWalkInPortOrderAndAreMadeOncePerAgentEntity) {
    addPortConfigs({3, 1, 2});
    EXPECT_EQ(portConfigPorts(), (Ports{1, 2, 3}));

    const auto agent = Zim::makePtr<Lldp::RemoteSystem>("n", 3);
    const auto row = root->remoteSystemIs({port(1), 3}, agent);
    EXPECT_EQ(root->remoteSystemIs({port(1), 3}, agent).get(), row.get());
    EXPECT_EQ(row->ptr().get(), agent.get());
    EXPECT_EQ(row->parent(), root.get());
}

TEST_F(RootTest, AnotherAgentEntityUnderAKnownKeyIsRefusedAndTheRowKept) {
    const auto first = Zim::makePtr<Lldp::PortStatus>("Ethernet1");
    const auto row = root->portStatusIs(port(1), first);
    EXPECT_THAT(ModelTest::thrown<Zim::NameInUseException>([&] {
                    root->portStatusIs(port(1), Zim::makePtr<Lldp::PortStatus>("Ethernet1"));
                }),
                ::testing::StartsWith("Reinstantiating the entity with name 1 where constructor "
                                      "parameter attribute _ptr has a different value of "));
    EXPECT_EQ(root->portStatus(port(1)).get(), row.get());
    EXPECT_EQ(row->ptr().get(), first.get());
}

TEST_F(RootTest, AChangedValueForAnExistingKeyKeepsOneRowWithTheNewValue) {
    const RemoteManagementAddressKey key(port(1), 1, ipv4(1));
    root->remoteManagementAddressIs({key, neighbour, ModelTest::managementAddress(ipv4(1), 5)});
    const auto walk = root->remoteManagementAddress().begin();
    root->remoteManagementAddressIs({key, neighbour, ModelTest::managementAddress(ipv4(1), 6)});

    ASSERT_EQ(root->remoteManagementAddress().size(), 1u);
    EXPECT_EQ(root->remoteManagementAddress(key)->rawValue.ifId(), 6);
    EXPECT_EQ(walk.value().rawValue.ifId(), 6) << "a walk standing on the row sees the new value";
}

// --- notifications -------------------------------------------------------------------------

TEST_F(RootTest, ReactorsHearOncePerRealChangeAndNeverForTheSameValue) {
    RootRecorder recorder(root);
    const auto agent = Zim::makePtr<Lldp::PortConfig>("Ethernet1");
    const auto other = Zim::makePtr<Lldp::RemoteSystem>("neighbour", 1);
    root->portConfigIs(port(1), agent);
    root->portConfigIs(port(1), agent);
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    root->remoteVlanNameIs(vlanNameRow(10, "renamed", neighbour));
    root->remoteVlanNameIs(vlanNameRow(10, "renamed", other)); // same value, another entity
    root->remoteVlanNameDel({port(1), 1, Bridging::VlanId(10)});
    root->remoteVlanNameDel({port(1), 1, Bridging::VlanId(10)});
    addPortConfigs({2});
    root->portConfigDelAll();

    const std::string vlan =
        "RemoteVlanName " + valueToStrep(RemoteVlanNameKey(port(1), 1, Bridging::VlanId(10)));
    EXPECT_EQ(recorder.events,
              (std::vector<std::string>{"PortConfig 1", vlan, vlan, vlan, vlan, "PortConfig 2",
                                        "PortConfig 1", "PortConfig 2"}));
}

TEST_F(RootTest, DeletingAnAbsentKeyChangesNothing) {
    addPortConfigs({1, 2});
    root->remoteVlanNameIs(vlanNameRow(10, "ten", neighbour));
    RootRecorder recorder(root);

    root->portConfigDel(port(7));
    root->remoteVlanNameDel({port(1), 1, Bridging::VlanId(11)});
    root->localManagementAddressDel(ipv4(1));

    EXPECT_EQ(portConfigPorts(), (Ports{1, 2}));
    EXPECT_EQ(root->remoteVlanName().size(), 1u);
    EXPECT_TRUE(recorder.events.empty());
}

// --- walks that survive changes ------------------------------------------------------------

TEST_F(RootTest, AWalkSurvivesRowsComingAndGoingUnderIt) {
    // Walks ports 1 to 4 and changes the collection when it stands on port 2.
    auto walk = [&](const std::function<void(const Root::PortConfigMap::ConstIterator&)>& change) {
        root->portConfigDelAll();
        addPortConfigs({1, 2, 3, 4});
        Ports seen;
        for (auto it = root->portConfig().begin(); !it.atEnd() && seen.size() < 10; ++it) {
            seen.push_back(it.key().value());
            if (it.key() == port(2))
                change(it);
        }
        return seen;
    };
    EXPECT_EQ(walk([&](const auto& it) { root->portConfigDel(it); }), (Ports{1, 2, 3, 4}));
    EXPECT_EQ(walk([&](const auto&) { root->portConfigDel(port(3)); }), (Ports{1, 2, 4}));
    EXPECT_EQ(walk([&](const auto&) { root->portConfigDelAll(); }), (Ports{1, 2}));
    const auto putBack = [&](const auto&) {
        root->portConfigDel(port(2));
        root->portConfigIs(port(2), nullptr);
    };
    EXPECT_EQ(walk(putBack), (Ports{1, 2, 3, 4}));
    const auto insertBeforeAndAfter = [&](const auto&) {
        root->portConfigIs(port(0), nullptr);
        root->portConfigIs(port(5), nullptr);
    };
    EXPECT_EQ(walk(insertBeforeAndAfter), (Ports{1, 2, 3, 4, 5}));
}

TEST_F(RootTest, AWalkAndItsRowsOutliveTheRoot) {
    addPortConfigs({1, 2});
    auto it = root->portConfig().begin();
    const auto row = root->portConfig(port(2));
    root = nullptr;
    EXPECT_EQ(row->parent(), nullptr);
    ++it;
    ASSERT_FALSE(it.atEnd());
    EXPECT_EQ(it.value().get(), row.get());
    ++it;
    EXPECT_TRUE(it.atEnd());
}

// --- local management addresses and their port lists ---------------------------------------

TEST_F(RootTest, LocalManagementAddressRowAndPortListBelongToTheRootUntilRemoved) {
    const auto row = root->localManagementAddressIs(ipv4(1));
    EXPECT_EQ(root->localManagementAddressIs(ipv4(1)).get(), row.get());
    const auto list = row->portsTxEnableIs("portsTxEnable");
    EXPECT_EQ(row->portsTxEnableIs("portsTxEnable").get(), list.get());
    EXPECT_EQ(list->parent(), row.get());
    root->localManagementAddressDel(ipv4(1));
    EXPECT_FALSE(root->localManagementAddress(ipv4(1)));
    EXPECT_EQ(row->parent(), nullptr);
}

TEST(PortList, SettingAPortTwiceLeavesOneMember) {
    const auto list = Zim::makePtr<PortList>("portsTxEnable");
    list->portIdIs(port(5));
    list->portIdIs(port(5));
    list->newPortId(port(6));
    EXPECT_EQ(list->portId().size(), 2u);
    list->portIdDel(5);
    list->portIdDel(9);
    EXPECT_EQ(list->portId().keys(), (std::vector<unsigned short>{6}));
}

} // namespace
