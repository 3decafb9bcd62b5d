// A table definition compiled against the frame with one member left out (-DDROP_<member>) or
// one member wrong (-DBREAK_<member>): check_table_contract.py expects each variant to stop the
// build with a message naming the member, and the complete definition to compile.
#include "mib/TableFrame.h"

namespace {

LldpMibFrame::Module& contractModule() {
    static LldpMibFrame::Module module("ContractMIB");
    return module;
}

struct InContract {
#ifndef DROP_mibModule
    static LldpMibFrame::Module& mibModule() {
        return contractModule();
    }
#endif
};

struct contractTableDef : InContract {
#ifndef DROP_name
    static constexpr const char* name = "contractTable";
#endif
#ifndef DROP_tableOid
    static constexpr oid tableOid[] = {1, 3, 6, 1, 4, 1, 32473, 1};
#endif
#ifndef DROP_indexes
    static constexpr LldpMibFrame::IndexObject indexes[] = {{"contractPortNum", ASN_INTEGER}};
#endif
#ifndef DROP_columns
#ifdef BREAK_columns
    static constexpr unsigned columns[] = {2, 4};
#else
    static constexpr unsigned columns[] = {2, 3};
#endif
#endif
#ifndef DROP_Map
    using Map = Lldp::Snmp::Root::PortConfigMap;
#endif
#ifndef DROP_rows
    static const Lldp::Snmp::Root::PortConfigMap& rows(const Lldp::Snmp::Root& root) {
        return root.portConfig();
    }
#endif
#ifndef DROP_keyTypeName
    static constexpr const char* keyTypeName = "Interface::EthPortId";
#endif
#ifndef DROP_keyFromHint
    static Interface::EthPortId keyFromHint(const LldpMibFrame::HintValues& v) {
        return LldpMibFrame::portFromHint(v[0]);
    }
#endif
#ifndef DROP_writeIndexes
    static void writeIndexes(LldpMibFrame::IndexWriter& w, const Interface::EthPortId& port) {
        w.integer("portNum", port.value());
    }
#endif
#ifndef DROP_answer
    static bool answer(LldpMibFrame::ColumnAnswer& a, int,
                       const Zim::Ptr<Lldp::Snmp::PortConfig>& row) {
        return a.integer("contractColumn", "adminStatus",
                         LldpMibFrame::agentOrDefault(row->ptr()).adminStatus());
    }
#endif
#ifdef BREAK_keep
    static int keep(const Lldp::Snmp::Root::PortConfigMap::ConstIterator&) {
        return 1;
    }
#endif
#ifdef BREAK_setRefusal
    static constexpr int setRefusal = 1;
#endif
};

} // namespace

#define CONTRACT_TABLES(X) X(contractTable)
LLDP_MIB_MODULE_DECLARATIONS(ContractMIB, CONTRACT_TABLES)
LLDP_MIB_MODULE(ContractMIB, contractModule, CONTRACT_TABLES)
