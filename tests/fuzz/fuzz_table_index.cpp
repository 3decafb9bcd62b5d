// The index of a request, decoded into a row of every LLDP table. The input picks a table and
// either an OID suffix, which net-snmp parses into the table's index variables as its table
// helper does for a GET or GETNEXT (so every length and sub-identifier a manager can send is
// tried), or index variables of any type, count and size. The table's first-row function
// takes them as its hint; its next-row function then walks on. Nothing may crash, leak or
// trip a sanitizer, and the rows a walk visits must come in strictly increasing index order.
//
// The tables hold the example state (examples/switch.json, or $LLDP_FUZZ_STATE): rows in every
// table of the four modules.
#include "host/LldpService.h"
#include "host/NotificationConfig.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// Reads the fuzzer's bytes as small decisions; past the end every read is 0.
class Bytes {
public:
    Bytes(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool empty() const noexcept { return used_ >= size_; }
    uint8_t byte() { return empty() ? 0 : data_[used_++]; }
    uint32_t word() {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            value = value << 8 | byte();
        }
        return value;
    }
    // Small numbers mostly, the edges of 32 bits sometimes.
    uint32_t subIdentifier() {
        const uint8_t b = byte();
        if (b < 0xf0) {
            return b;
        }
        switch (b) {
        case 0xf0:
            return 0x7fffffffu;
        case 0xf1:
            return 0x80000000u;
        case 0xf2:
            return 0xffffffffu;
        default:
            return word();
        }
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t used_ = 0;
};

struct Table {
    netsnmp_iterator_info* iterator;
    const char* name;
};

std::vector<Table>& tables() {
    static std::vector<Table> all;
    return all;
}

// Every table iterator registered in the default context, in OID order.
void findTables() {
    for (netsnmp_subtree* tree = netsnmp_subtree_find_first(""); tree; tree = tree->next) {
        if (!tree->reginfo) {
            continue;
        }
        netsnmp_mib_handler* handler =
            netsnmp_find_handler_by_name(tree->reginfo, "table_iterator");
        if (!handler) {
            continue;
        }
        auto* iterator = static_cast<netsnmp_iterator_info*>(handler->myvoid);
        if (tables().empty() || tables().back().iterator != iterator) {
            tables().push_back({iterator, tree->reginfo->handlerName});
        }
    }
}

using VarList = std::unique_ptr<netsnmp_variable_list, decltype(&snmp_free_varbind)>;

VarList varList(netsnmp_variable_list* vars) {
    return VarList(vars, &snmp_free_varbind);
}

// As net-snmp's table helper: the index variables parsed from the OID, as many as it holds.
int parseIndexes(Bytes& in, netsnmp_variable_list* vars) {
    std::vector<oid> suffix;
    const size_t length = in.byte() % (MAX_OID_LEN / 2);
    for (size_t i = 0; i < length && !in.empty(); ++i) {
        suffix.push_back(in.subIdentifier());
    }
    oid* next = suffix.data();
    size_t left = suffix.size();
    int parsed = 0;
    for (netsnmp_variable_list* var = vars; var && left > 0; var = var->next_variable) {
        if (parse_one_oid_index(&next, &left, var, 0) != SNMPERR_SUCCESS) {
            break;
        }
        ++parsed;
    }
    return parsed;
}

// Index variables as no table declares them: any type, any size, any count.
int rawIndexes(Bytes& in, VarList& vars) {
    static constexpr u_char types[] = {ASN_INTEGER,   ASN_UNSIGNED,  ASN_TIMETICKS,
                                       ASN_OCTET_STR, ASN_OBJECT_ID, ASN_GAUGE};
    netsnmp_variable_list* list = nullptr;
    const int count = in.byte() % 6;
    for (int i = 0; i < count; ++i) {
        const u_char type = types[in.byte() % std::size(types)];
        if (type == ASN_OCTET_STR) {
            std::vector<u_char> bytes(in.byte());
            for (auto& b : bytes) {
                b = in.byte();
            }
            snmp_varlist_add_variable(&list, nullptr, 0, type, bytes.data(), bytes.size());
        } else if (type == ASN_OBJECT_ID) {
            std::vector<oid> arcs(in.byte() % 8 + 2);
            for (auto& arc : arcs) {
                arc = in.subIdentifier();
            }
            snmp_varlist_add_variable(&list, nullptr, 0, type, arcs.data(),
                                      arcs.size() * sizeof(oid));
        } else {
            const long value = static_cast<int32_t>(in.subIdentifier());
            snmp_varlist_add_variable(&list, nullptr, 0, type, &value, sizeof value);
        }
    }
    vars = varList(list);
    return count;
}

// The OID of a row's index, to check the order of a walk.
std::vector<oid> indexOid(netsnmp_variable_list* vars) {
    std::vector<oid> name(MAX_OID_LEN);
    size_t length = 0;
    if (build_oid_noalloc(name.data(), name.size(), &length, nullptr, 0, vars) != SNMPERR_SUCCESS) {
        std::fprintf(stderr, "fuzz: a row's index does not make an OID\n");
        std::abort();
    }
    name.resize(length);
    return name;
}

void walk(const Table& table, Bytes& in) {
    netsnmp_iterator_info* iterator = table.iterator;
    netsnmp_table_request_info hint{};
    VarList requested = varList(nullptr);
    if (in.byte() % 2 == 0) {
        requested = varList(snmp_clone_varbind(iterator->table_reginfo->indexes));
        hint.number_indexes = parseIndexes(in, requested.get());
    } else {
        hint.number_indexes = rawIndexes(in, requested);
    }
    hint.indexes = requested.get();

    // The variables the iterator fills with each row's index; a time filter starts at the
    // requested mark.
    VarList rowIndex = varList(snmp_clone_varbind(iterator->indexes));
    if (rowIndex->type == ASN_TIMETICKS) {
        snmp_set_var_typed_integer(rowIndex.get(), ASN_TIMETICKS,
                                   static_cast<long>(in.subIdentifier()));
    }
    void* loop = &hint;
    void* data = nullptr;
    netsnmp_variable_list* row =
        iterator->get_first_data_point(&loop, &data, rowIndex.get(), iterator);
    std::vector<oid> previous;
    const int steps = in.byte() % 32;
    for (int step = 0; row && step <= steps; ++step) {
        auto current = indexOid(row);
        if (!previous.empty() && snmp_oid_compare(previous.data(), previous.size(), current.data(),
                                                  current.size()) >= 0) {
            std::fprintf(stderr, "fuzz: %s walked to a row that is not after the last one\n",
                         table.name);
            std::abort();
        }
        previous = std::move(current);
        // net-snmp keeps the row it answers with as a data context of its own.
        iterator->free_data_context(iterator->make_data_context(loop, iterator), iterator);
        row = iterator->get_next_data_point(&loop, &data, rowIndex.get(), iterator);
    }
    if (loop != &hint) {
        iterator->free_loop_context_at_end(loop, iterator);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
    snmp_disable_log();
    init_agent("lldp-fuzz");
    LldpSnmpd::declareDefaultNotifications();
    const char* state = std::getenv("LLDP_FUZZ_STATE");
    // Never destroyed: its modules stay registered with net-snmp until the process ends, and
    // static destructors at exit would unregister them from an agent already torn down.
    static auto* service = new LldpSnmpd::LldpService(state ? state : LLDPSNMP_FUZZ_STATE);
    if (!service->start()) {
        std::fprintf(stderr, "fuzz: the state file was refused\n");
        std::exit(1);
    }
    findTables();
    if (tables().empty()) {
        std::fprintf(stderr, "fuzz: no table registered\n");
        std::exit(1);
    }
    std::fprintf(stderr, "fuzz: %zu tables\n", tables().size());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Bytes in(data, size);
    const Table& table = tables()[in.byte() % tables().size()];
    walk(table, in);
    return 0;
}
