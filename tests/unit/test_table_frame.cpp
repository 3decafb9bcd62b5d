// The table frame, driven in-process through the callbacks it registers with net-snmp: index
// hints, the re-seek after removals between two steps, the time filter, and where an error goes.
#include "mib_test_support.h"
#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/Status.h"
#include "platform/snmp/Conversions.h"
#include "platform/snmp/HandlerRegistration.h"
#include "platform/snmp/SnmpUtil.h"
#include "platform/zim/Clock.h"
#include "platform/zim/Trace.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Lldp::Snmp::RemoteSystemKey;
using MibTest::agent;
using MibTest::iteratorOf;
using MibTest::TraceCapture;

const std::initializer_list<oid> lldpRemTableOid = {1, 0, 8802, 1, 1, 2, 1, 4, 1};

// A request's parsed index as net-snmp hands it to the first-row function.
class Hint {
public:
    explicit Hint(int parsed) { info_.number_indexes = parsed; }
    ~Hint() { snmp_free_varbind(info_.indexes); }
    Hint& integer(long value) { return add(ASN_INTEGER, value); }
    Hint& timeTicks(long value) { return add(ASN_TIMETICKS, value); }
    Hint& octets(const std::string& text) {
        snmp_varlist_add_variable(&info_.indexes, nullptr, 0, ASN_OCTET_STR,
                                  reinterpret_cast<const u_char*>(text.data()), text.size());
        return *this;
    }
    netsnmp_table_request_info* info() { return &info_; }

private:
    Hint& add(u_char type, long value) {
        snmp_varlist_add_variable(&info_.indexes, nullptr, 0, type,
                                  reinterpret_cast<const u_char*>(&value), sizeof value);
        return *this;
    }
    netsnmp_table_request_info info_{};
};

// The (port, index) a first- or next-row call answered with, or (-1, -1) for no row.
std::pair<long, long> rowOf(netsnmp_variable_list* vars) {
    if (!vars)
        return {-1, -1};
    return {*vars->next_variable->val.integer, *vars->next_variable->next_variable->val.integer};
}

class TableFrameTest : public ::testing::Test {
protected:
    void SetUp() override {
        root = agent().root;
        iinfo = iteratorOf(lldpRemTableOid);
        ASSERT_NE(iinfo, nullptr);
        for (auto [port, index] : {std::pair{1, 1}, {1, 2}, {2, 1}, {3, 7}, {5, 1}}) {
            addNeighbour(port, index, Zim::now() - 1000.0);
        }
    }
    void TearDown() override {
        root->remoteSystemDelAll();
        snmp_free_varbind(vars);
    }

    void addNeighbour(uint16_t port, int32_t index, double lastChange, Zim::String8 chassis = "c") {
        auto neighbour = Zim::makePtr<Lldp::RemoteSystem>("n", index);
        neighbour->lastChangeTimeIs(lastChange);
        neighbour->chassisIdIs(chassis);
        neighbour->portIdIs("p");
        root->remoteSystemIs(RemoteSystemKey(Interface::EthPortId(port), index), neighbour);
    }

    netsnmp_variable_list* freshIndexVars(long timeFilter = 0) {
        snmp_free_varbind(vars);
        vars = snmp_clone_varbind(iinfo->indexes);
        snmp_set_var_typed_integer(vars, ASN_TIMETICKS, timeFilter);
        return vars;
    }

    std::pair<long, long> first(netsnmp_table_request_info* hint, long timeFilter = 0) {
        loop = hint;
        return rowOf(iinfo->get_first_data_point(&loop, &data, freshIndexVars(timeFilter), iinfo));
    }
    std::pair<long, long> next() {
        return rowOf(iinfo->get_next_data_point(&loop, &data, vars, iinfo));
    }
    void endWalk() {
        iinfo->free_loop_context_at_end(loop, iinfo);
        loop = nullptr;
    }

    Lldp::Snmp::Root::Ptr root;
    netsnmp_iterator_info* iinfo = nullptr;
    netsnmp_variable_list* vars = nullptr;
    void* loop = nullptr;
    void* data = nullptr;
};

TEST_F(TableFrameTest, AHintNamingAnExistingRowStartsTheWalkThere) {
    TraceCapture traces("Snmp=2");
    Hint hint(3);
    hint.timeTicks(0).integer(3).integer(7);
    EXPECT_EQ(first(hint.info()), std::make_pair(3L, 7L));
    EXPECT_TRUE(traces.has("hintMatched=1"));
    EXPECT_EQ(next(), std::make_pair(5L, 1L));
    endWalk();
}

TEST_F(TableFrameTest, AHintNamingAMissingRowStartsAtTheLeastGreaterRow) {
    TraceCapture traces("Snmp=2");
    Hint missing(3);
    missing.timeTicks(0).integer(2).integer(9);
    EXPECT_EQ(first(missing.info()), std::make_pair(3L, 7L));
    EXPECT_TRUE(traces.has(
        "lldpRemTable_get_first_data_point - key 'Value('Lldp::Snmp::RemoteSystem::Key', ** "
        "{'ethPortId': 2, 'index': 9})' not found in table"));
    EXPECT_TRUE(traces.has("hintMatched=0"));
    endWalk();
    Hint beyond(3);
    beyond.timeTicks(0).integer(5).integer(2);
    EXPECT_EQ(first(beyond.info()), std::make_pair(-1L, -1L)) << "past the last row";
    endWalk();
}

TEST_F(TableFrameTest, UnusableHintsStartTheWalkAtTheFirstRow) {
    {
        TraceCapture traces("Snmp=2");
        Hint partial(2);
        partial.timeTicks(0).integer(3);
        EXPECT_EQ(first(partial.info()), std::make_pair(1L, 1L));
        EXPECT_FALSE(traces.has("needed"));
        endWalk();
    }
    {
        TraceCapture traces("Snmp=2");
        Hint wrongType(3);
        wrongType.timeTicks(0).octets("x").integer(7);
        EXPECT_EQ(first(wrongType.info()), std::make_pair(1L, 1L));
        EXPECT_TRUE(
            traces.has("hint for lldpRemLocalPortNum has incorrect type! Expecting 2 but got 4"));
        EXPECT_TRUE(
            traces.has("lldpRemTable_get_first_data_point - needed 3 components, found only 1"));
        endWalk();
    }
    {
        TraceCapture traces("Snmp=2");
        Hint outOfRange(3);
        outOfRange.timeTicks(0).integer(4095).integer(1);
        EXPECT_EQ(first(outOfRange.info()), std::make_pair(1L, 1L));
        EXPECT_TRUE(traces.has(
            "Bad hint for lldpRemTable: Lldp::Snmp::RemoteSystem::Key ctor threw exception: "
            "EthPortId::value < EthPortId::min or > EthPortId::max not allowed"));
        endWalk();
    }
}

// The (subtype, address) a management-address row call answered with; (-1, "") for no row.
std::pair<long, std::string> addressOf(netsnmp_variable_list* vars) {
    if (!vars)
        return {-1, ""};
    const netsnmp_variable_list* address = vars;
    while (address->next_variable)
        address = address->next_variable;
    const netsnmp_variable_list* subtype = vars;
    while (subtype->next_variable != address)
        subtype = subtype->next_variable;
    return {*subtype->val.integer,
            std::string(reinterpret_cast<const char*>(address->val.string), address->val_len)};
}

TEST_F(TableFrameTest, ManagementAddressHintsPositionOnTheRequestedOrNextAddress) {
    netsnmp_iterator_info* table = iteratorOf({1, 0, 8802, 1, 1, 2, 1, 4, 2});
    ASSERT_NE(table, nullptr);
    const auto neighbour = Zim::makePtr<Lldp::RemoteSystem>("n", 1);
    const std::string v4a("\xc0\x00\x02\x01", 4), v4b("\xc0\x00\x02\x09", 4);
    const std::string v6(16, '\x20');
    for (const auto& [subtype, address] : {std::pair{1, v4b}, {1, v4a}, {2, v6}, {1, v6}}) {
        const Lldp::ManagementAddress::Key key(subtype, address);
        root->remoteManagementAddressIs(Lldp::Snmp::RemoteManagementAddress{
            {Interface::EthPortId(1), 1, key}, neighbour, {key, 2, 7, "1.3.6.1"}});
    }
    netsnmp_variable_list* indexVars = snmp_clone_varbind(table->indexes);
    snmp_set_var_typed_integer(indexVars, ASN_TIMETICKS, 0);
    auto walkFrom = [&](long subtype, const std::string& address) {
        Hint hint(5);
        hint.timeTicks(0).integer(1).integer(1).integer(subtype).octets(address);
        void* walk = hint.info();
        std::vector<std::pair<long, std::string>> rows;
        rows.push_back(addressOf(table->get_first_data_point(&walk, &data, indexVars, table)));
        while (rows.back().first != -1)
            rows.push_back(addressOf(table->get_next_data_point(&walk, &data, indexVars, table)));
        table->free_loop_context_at_end(walk, table);
        rows.pop_back();
        return rows;
    };
    using Rows = std::vector<std::pair<long, std::string>>;
    {
        TraceCapture traces("Snmp=2");
        EXPECT_EQ(walkFrom(1, v4b), (Rows{{1, v4b}, {1, v6}, {2, v6}}));
        EXPECT_TRUE(traces.has("hintMatched=1"));
        EXPECT_TRUE(traces.has("hint component lldpRemManAddr is '\\xc0\\x00\\x02\\x09'"));
    }
    {
        TraceCapture traces("Snmp=2");
        // A shorter address orders before every longer one of its subtype.
        EXPECT_EQ(walkFrom(1, std::string(3, '\xff')),
                  (Rows{{1, v4a}, {1, v4b}, {1, v6}, {2, v6}}));
        EXPECT_TRUE(traces.has("hintMatched=0"));
    }
    EXPECT_EQ(walkFrom(1, std::string(5, '\0')), (Rows{{1, v6}, {2, v6}}));
    EXPECT_EQ(walkFrom(2, std::string(17, '\0')), Rows{});
    snmp_free_varbind(indexVars);
    root->remoteManagementAddressDelAll();
}

TEST_F(TableFrameTest, AWalkContinuesAtTheNextGreaterKeyAfterRowsAreRemoved) {
    Hint hint(3);
    hint.timeTicks(0).integer(1).integer(2);
    EXPECT_EQ(first(hint.info()), std::make_pair(1L, 2L));
    root->remoteSystemDel(RemoteSystemKey(Interface::EthPortId(2), 1)); // the next row
    EXPECT_EQ(next(), std::make_pair(3L, 7L));
    root->remoteSystemDel(RemoteSystemKey(Interface::EthPortId(3), 7)); // the current row
    addNeighbour(4, 1, Zim::now() - 1000.0);                            // a row ahead of it
    EXPECT_EQ(next(), std::make_pair(4L, 1L));
    root->remoteSystemDelAll();
    EXPECT_EQ(next(), std::make_pair(-1L, -1L));
    endWalk();
}

TEST_F(TableFrameTest, TheTimeFilterKeepsRowsChangedAtOrAfterTheRequestedMark) {
    root->remoteSystemDelAll();
    const double start = Snmp::agentStartTime();
    addNeighbour(1, 1, start + 10.00); // time mark 1000
    addNeighbour(2, 1, start + 20.00); // time mark 2000
    EXPECT_EQ(first(nullptr, 0), std::make_pair(1L, 1L));
    EXPECT_EQ(*vars->val.integer, 0) << "rows are reported under the requested time mark";
    endWalk();
    EXPECT_EQ(first(nullptr, 1002), std::make_pair(1L, 1L)) << "two ticks of slack";
    endWalk();
    EXPECT_EQ(first(nullptr, 1003), std::make_pair(2L, 1L));
    EXPECT_EQ(*vars->val.integer, 1003);
    endWalk();
    EXPECT_EQ(first(nullptr, 2003), std::make_pair(-1L, -1L));
    endWalk();
}

TEST_F(TableFrameTest, AFailedColumnPutsGenErrOnTheFirstRequestOfTheCall) {
    addNeighbour(6, 1, Zim::now(), Zim::String8()); // empty chassis id: not answerable
    netsnmp_agent_request_info reqinfo{};
    reqinfo.mode = MODE_GET;
    std::vector<RemoteSystemKey> keys = {RemoteSystemKey(Interface::EthPortId(1), 1),
                                         RemoteSystemKey(Interface::EthPortId(2), 1),
                                         RemoteSystemKey(Interface::EthPortId(6), 1)};
    netsnmp_request_info requests[3] = {};
    netsnmp_table_request_info tables[3] = {};
    for (int i = 0; i < 3; ++i) {
        const oid name[] = {1, 0, 8802, 1, 1, 2, 1, 4, 1, 1, 5};
        snmp_varlist_add_variable(&requests[i].requestvb, name, std::size(name), ASN_NULL, nullptr,
                                  0);
        requests[i].agent_req_info = &reqinfo;
        requests[i].next = i < 2 ? &requests[i + 1] : nullptr;
        tables[i].colnum = 5;
        auto row = root->remoteSystem().at(keys[i]);
        ASSERT_FALSE(row.atEnd());
        void* rowLoop = &row;
        netsnmp_request_add_list_data(
            &requests[i], netsnmp_create_data_list(
                              "table_iterator", iinfo->make_data_context(rowLoop, iinfo), nullptr));
        netsnmp_request_add_list_data(&requests[i],
                                      netsnmp_create_data_list("table", &tables[i], nullptr));
    }

    EXPECT_EQ(lldpRemTable_handler(nullptr, nullptr, &reqinfo, requests), SNMP_ERR_NOERROR);
    EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
    EXPECT_EQ(requests[2].status, SNMP_ERR_NOERROR);
    EXPECT_EQ(requests[1].requestvb->type, ASN_OCTET_STR) << "rows before the failure answered";

    for (auto& request : requests) {
        iinfo->free_data_context(netsnmp_request_get_list_data(&request, "table_iterator"), iinfo);
        netsnmp_free_all_list_data(request.parent_data);
        snmp_free_varbind(request.requestvb);
    }
}

TEST_F(TableFrameTest, WritesAreRefusedAsNotWritable) {
    netsnmp_agent_request_info reqinfo{};
    reqinfo.mode = MODE_SET_RESERVE1;
    netsnmp_request_info request{};
    request.agent_req_info = &reqinfo;
    netsnmp_table_request_info table{};
    table.colnum = 9;
    netsnmp_request_add_list_data(&request, netsnmp_create_data_list("table", &table, nullptr));
    EXPECT_EQ(lldpRemTable_handler(nullptr, nullptr, &reqinfo, &request), SNMP_ERR_NOERROR);
    EXPECT_EQ(request.status, SNMP_ERR_NOTWRITABLE);
    netsnmp_free_all_list_data(request.parent_data);
}

TEST_F(TableFrameTest, ExtensionTablesListOnlyNeighboursThatSentTheirTlv) {
    netsnmp_iterator_info* power = iteratorOf({1, 0, 8802, 1, 1, 2, 1, 5, 4623, 1, 3, 2});
    ASSERT_NE(power, nullptr);
    root->remoteSystemDelAll();
    addNeighbour(1, 1, Zim::now());
    auto withPower = Zim::makePtr<Lldp::RemoteSystem>("n", 2);
    withPower->powerViaMdiTlvReceivedIs(true);
    root->remoteSystemIs(RemoteSystemKey(Interface::EthPortId(1), 2), withPower);
    addNeighbour(1, 3, Zim::now());

    void* powerLoop = nullptr;
    netsnmp_variable_list* indexVars = snmp_clone_varbind(power->indexes);
    snmp_set_var_typed_integer(indexVars, ASN_TIMETICKS, 0);
    EXPECT_EQ(rowOf(power->get_first_data_point(&powerLoop, &data, indexVars, power)),
              std::make_pair(1L, 2L));
    EXPECT_EQ(rowOf(power->get_next_data_point(&powerLoop, &data, indexVars, power)),
              std::make_pair(-1L, -1L));
    power->free_loop_context_at_end(powerLoop, power);
    snmp_free_varbind(indexVars);
}

TEST(TableRegistration, AnotherContextRegistersNothingButIsStillRecorded) {
    agent();
    TraceCapture traces("Snmp=2");
    init_LldpMIB("mgmt");
    EXPECT_TRUE(traces.has("init_LldpMIB in context \"mgmt\": statestorePathWithContext not "
                           "specified for lldpMessageTxInterval; skipping registration"));
    EXPECT_TRUE(traces.has("initialize_table_lldpRemTable in context \"mgmt\" "
                           "statestorePathWithContext not specified "));
    EXPECT_TRUE(Snmp::mibContexts().count({"mgmt", "LldpMIB"}));
    unregister_LldpMIB("mgmt");
    EXPECT_FALSE(Snmp::mibContexts().count({"mgmt", "LldpMIB"}));
    EXPECT_NE(iteratorOf(lldpRemTableOid), nullptr) << "the default context keeps its tables";
}

} // namespace
