#pragma once
// The one frame every LLDP table is served by. A table is a definition (its OID, index objects,
// the root collection it walks, its key from an index hint, its columns); this frame does the
// rest with net-snmp's table iterator: registration, loop and data contexts that are counted
// iterators over the collection (so a walk survives rows removed between two steps), the index
// hint that turns GETNEXT into a tree search, the time filter of the remote tables, and the
// column handler with its error codes.
//
// Each table's eight functions keep their MIB names (LLDP_MIB_TABLE below); they forward here.
#include "conv/SnmpConversions.h"
#include "mib/Module.h"
#include "model/Root.h"
#include "platform/snmp/Conversions.h"
#include "platform/snmp/SnmpUtil.h"
#include "platform/zim/Assert.h"
#include "platform/zim/Exception.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace LldpMibFrame {

struct IndexObject {
    const char* name;
    u_char type;
    // Checks a decoded component on its own (VLAN ids); throws the range exception.
    void (*check)(uint32_t value) = nullptr;
};

void checkVlanId(uint32_t value);
void checkVlanIdOrNone(uint32_t value);

// Index components decoded from a hint, in index order (the time mark included, as 0).
// Integers hold their 32 bits; an OUI its 24-bit value.
using HintValues = std::array<uint32_t, 8>;

inline Interface::EthPortId portFromHint(uint32_t value) {
    // Narrowed before the range test, as the port index always has been.
    return Interface::EthPortId(static_cast<uint16_t>(value));
}

// Writes a row's index values into net-snmp's index variables, tracing each one.
class IndexWriter {
public:
    IndexWriter(Module& module, const std::string& helperName, netsnmp_variable_list* var)
        : module_(module), helper_(helperName), var_(var) {}

    void integer(const char* component, int32_t value);
    void octets(const char* component, const Zim::String8& value, int capacity);
    void oui(const char* component, const Lldp::Oui& value);
    netsnmp_variable_list* next() const noexcept { return var_; }

private:
    // Traces the component (its text is made only when the trace is on); false at the end of
    // the index list.
    template <class Value> bool take(const char* component, const Value& value) {
        ZTRACE_FROM(module_.trace(), module_.name(), 2,
                    helper_ << " - iterator has another value: " << component << "=" << value);
        return var_ != nullptr;
    }
    Module& module_;
    const std::string& helper_;
    netsnmp_variable_list* var_;
};

// Answers one column of one row: trace, read, convert, check the length, set the varbind.
// Every method returns false after tracing a failure; the frame then answers genErr.
class ColumnAnswer {
public:
    ColumnAnswer(Module& module, const char* table, netsnmp_request_info* request,
                 std::string (*keyText)(const void*), const void* key)
        : module_(module), table_(table), request_(request), keyText_(keyText), key_(key) {}

    bool integer(const char* column, const char* attribute, int32_t value);
    bool truthValue(const char* column, const char* attribute, bool value);
    bool counter32(const char* column, const char* attribute, uint32_t value);
    bool gauge32(const char* column, const char* attribute, uint32_t value);
    // An octet string whose value may be at most `bound` bytes (boundType names the type in
    // the refusal), answered when its length is within minLength..maxLength.
    bool octets(const char* column, const char* attribute, const Zim::String8& value,
                const char* boundType, size_t bound, int capacity, int minLength, int maxLength);
    bool objectId(const char* column, const char* attribute, const Zim::String8& dotted);
    // BITS and other encodings of this library: convert(buffer, capacity) returns the length.
    template <class Convert>
    bool encoded(const char* column, const char* attribute, const char* conversion, int capacity,
                 Convert&& convert, int minLength = -1, int maxLength = -1) {
        return answer(column, attribute, conversion, ASN_OCTET_STR, capacity, convert, minLength,
                      maxLength);
    }

private:
    template <class Convert>
    bool answer(const char* column, const char* attribute, const char* conversion, u_char type,
                int capacity, Convert&& convert, int minLength = -1, int maxLength = -1) {
        traceGet(column);
        unsigned char buffer[1024];
        return finish(attribute, conversion, type, buffer, convert(buffer, capacity), minLength,
                      maxLength);
    }
    void traceGet(const char* column);
    bool finish(const char* attribute, const char* conversion, u_char type,
                const unsigned char* buffer, int length, int minLength, int maxLength);
    Module& module_;
    const char* table_;
    netsnmp_request_info* request_;
    std::string (*keyText_)(const void*);
    const void* key_;
};

// Looks the root up where the host mounted it; a missing or mistyped root stops the host.
Lldp::Snmp::Root* registeredRoot(const char* table);

struct Callbacks {
    Netsnmp_First_Data_Point* first;
    Netsnmp_Next_Data_Point* next;
    Netsnmp_Make_Data_Context* makeData;
    Netsnmp_Free_Data_Context* freeData;
    Netsnmp_Free_Loop_Context* freeLoopAtEnd;
    Netsnmp_Node_Handler* handler;
};

template <class Def> class Table {
public:
    using Map = typename Def::Map;
    using Iterator = typename Map::ConstIterator;
    using Key = std::remove_cvref_t<decltype(std::declval<const Iterator&>().key())>;
    static constexpr size_t indexCount = std::size(Def::indexes);

    static void initialize(const Zim::String8& context, const Callbacks& cb) {
        Module& module = Def::mibModule();
        const size_t oidLength = std::size(Def::tableOid);
        ZTRACE_FROM(module.trace(), module.name(), 1,
                    "initialize_table_" << Def::name << " initializing oid "
                                        << oidText(Def::tableOid, oidLength) << " in context "
                                        << quoted(context));
        const std::string registrationName = std::string(Def::name) + "_" + context.str();
        netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
            registrationName.c_str(), cb.handler, Def::tableOid, oidLength, Def::mode);
        if (!context.empty()) {
            netsnmp_handler_registration_free(reg);
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        "initialize_table_" << Def::name << " in context " << quoted(context)
                                            << " statestorePathWithContext not specified ");
            return;
        }
        module.contextHandlerRegistrations[context].push_back(reg);
        Lldp::Snmp::Root* root = registeredRoot(Def::name);
        reg->my_reg_void = root;

        auto* columns = SNMP_MALLOC_TYPEDEF(netsnmp_column_info);
        columns->isRange = 0;
        columns->list_count = static_cast<char>(std::size(Def::columns));
        columns->details.list = const_cast<unsigned int*>(Def::columns);
        auto* tableInfo = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
        for (const IndexObject& index : Def::indexes) {
            auto* added =
                snmp_varlist_add_variable(&tableInfo->indexes, nullptr, 0, index.type, nullptr, 0);
            if (!added) {
                ZTRACE_FROM(module.trace(), module.name(), 0,
                            "Failed to set up " << index.name
                                                << " in netsnmp table_info in context "
                                                << quoted(context));
            } else if (index.type == ASN_PRIV_IMPLIED_OCTET_STR) {
                added->val_len = 3; // the OUI: three octets, no length prefix
            }
        }
        tableInfo->min_column = Def::minColumn;
        tableInfo->max_column = Def::maxColumn;
        tableInfo->valid_columns = columns;

        auto* iinfo = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
        iinfo->get_first_data_point = cb.first;
        iinfo->get_next_data_point = cb.next;
        iinfo->make_data_context = cb.makeData;
        iinfo->free_data_context = cb.freeData;
        iinfo->free_loop_context_at_end = cb.freeLoopAtEnd;
        iinfo->myvoid = root;
        iinfo->flags = NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
        iinfo->table_reginfo = tableInfo;

        module.contextColumnInfos[context].push_back(columns);
        int result = netsnmp_register_table_iterator(reg, iinfo);
        ZIM_ASSERT(result == 0);
        int injected = netsnmp_inject_handler(reg, netsnmp_get_serialize_handler());
        ZIM_ASSERT(injected == (0));
        ZTRACE_FROM(module.trace(), module.name(), 8,
                    "Initialized table " << Def::name << " in context " << quoted(context));
    }

    static netsnmp_variable_list* firstDataPoint(void** loopContext, void** dataContext,
                                                 netsnmp_variable_list* indexVars,
                                                 netsnmp_iterator_info* info) {
        Module& module = Def::mibModule();
        const auto& rows = Def::rows(*static_cast<const Lldp::Snmp::Root*>(info->myvoid));
        std::optional<Iterator> start;
        bool hintMatched = false;
        if constexpr (Def::hinted) {
            const auto* hint = static_cast<const netsnmp_table_request_info*>(*loopContext);
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        Def::name << "_get_first_data_point - *hint = "
                                  << static_cast<const void*>(hint)
                                  << ", number_indexes = " << (hint ? hint->number_indexes : 0));
            if (auto key = keyFromHint(hint)) {
                Iterator found = rows.at(*key);
                if (found) {
                    start = found;
                    hintMatched = true;
                } else {
                    ZTRACE_FROM(module.trace(), module.name(), 2,
                                Def::name << "_get_first_data_point - key '" << strep(*key)
                                          << "' not found in table");
                }
            }
        }
        auto* loop = new Iterator(start ? *start : rows.begin());
        *loopContext = loop;
        if constexpr (Def::hinted) {
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        Def::name << "_get_first_data_point - allocated new loop context "
                                  << static_cast<void*>(loop) << ", hintMatched=" << hintMatched);
        } else {
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        Def::name << "_get_first_data_point - allocated new loop context "
                                  << static_cast<void*>(loop));
        }
        skipUnwanted(*loop, indexVars, "*");
        return iterationHelper(loop, indexVars);
    }

    static netsnmp_variable_list* nextDataPoint(void** loopContext, void** dataContext,
                                                netsnmp_variable_list* indexVars,
                                                netsnmp_iterator_info*) {
        Module& module = Def::mibModule();
        auto* loop = static_cast<Iterator*>(*loopContext);
        if (!loop || loop->atEnd()) {
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        Def::name << "_get_next_data_point - at end of loop context "
                                  << static_cast<void*>(loop));
            return nullptr;
        }
        ZTRACE_FROM(module.trace(), module.name(), 2,
                    Def::name << "_get_next_data_point - advancing loop context "
                              << static_cast<void*>(loop) << " ; data context "
                              << (dataContext ? *dataContext : nullptr));
        loop->advance();
        skipUnwanted(*loop, indexVars, "*");
        return iterationHelper(loop, indexVars);
    }

    static void* makeDataContext(void* loopContext, netsnmp_iterator_info*) {
        auto* data = new Iterator(*static_cast<Iterator*>(loopContext));
        ZTRACE_FROM(Def::mibModule().trace(), Def::mibModule().name(), 2,
                    Def::name << "_make_data_context - allocated data context "
                              << static_cast<void*>(data) << " for loop context " << loopContext);
        return data;
    }

    static void freeDataContext(void* dataContext, netsnmp_iterator_info*) {
        ZTRACE_FROM(Def::mibModule().trace(), Def::mibModule().name(), 2,
                    Def::name << "_free_data_context " << dataContext);
        delete static_cast<Iterator*>(dataContext);
    }

    static void freeLoopContextAtEnd(void* loopContext, netsnmp_iterator_info*) {
        ZTRACE_FROM(Def::mibModule().trace(), Def::mibModule().name(), 2,
                    Def::name << "_free_loop_context_at_end " << loopContext);
        delete static_cast<Iterator*>(loopContext);
    }

    static netsnmp_variable_list* iterationHelper(void* loopContext,
                                                  netsnmp_variable_list* indexVars) {
        Module& module = Def::mibModule();
        static const std::string helper = std::string(Def::name) + "IterationHelper";
        auto* loop = static_cast<Iterator*>(loopContext);
        if (!loop || loop->atEnd()) {
            ZTRACE_FROM(module.trace(), module.name(), 2, helper << " - iterator is at end");
            return nullptr;
        }
        netsnmp_variable_list* var = indexVars;
        if constexpr (Def::timeFilter) {
            // The row is reported under the requested time mark, not its own.
            if (var->val_len == 0 || !var->val.integer) {
                snmp_set_var_typed_integer(var, ASN_TIMETICKS, 0);
            }
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        helper << " - Using existing TimeFilter lldpRemTimeMark="
                               << static_cast<uint32_t>(*var->val.integer));
            var = var->next_variable;
        }
        IndexWriter writer(module, helper, var);
        Def::writeIndexes(writer, loop->key());
        return indexVars;
    }

    static int handler(netsnmp_mib_handler*, netsnmp_handler_registration*,
                       netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
        Module& module = Def::mibModule();
        static const std::string handlerName = std::string(Def::name) + "_handler";
        ZTRACE_FROM(module.trace(), module.name(), 2, handlerName);
        ZTRACE_FROM(module.trace(), module.name(), 2,
                    handlerName << ": request mode " << reqinfo->mode);
        if (reqinfo->mode != MODE_GET)
            return refuseWrite(handlerName, requests);
        for (netsnmp_request_info* request = requests; request; request = request->next) {
            if (request->processed) {
                ZTRACE_FROM(module.trace(), module.name(), 2,
                            handlerName << ": request " << static_cast<void*>(request)
                                        << " already processed");
                continue;
            }
            auto* row = static_cast<Iterator*>(netsnmp_extract_iterator_context(request));
            if (!row || row->atEnd()) {
                ZTRACE_FROM(module.trace(), module.name(), 2,
                            handlerName << ": null data context in request");
                return SNMP_ERR_NOERROR;
            }
            const int column = static_cast<int>(netsnmp_extract_table_info(request)->colnum);
            if (column < Def::minColumn || column > Def::maxColumn) {
                ZTRACE_FROM(module.trace(), module.name(), 0,
                            Def::name << " invalid column " << column);
                netsnmp_request_set_error(request, SNMP_NOSUCHOBJECT);
                return SNMP_ERR_NOERROR;
            }
            ColumnAnswer answer(module, Def::name, request, &keyTextOf, &row->key());
            if (!Def::answer(answer, column, row->value())) {
                // The error goes on the first request of the call, deliberately.
                netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
                return SNMP_ERR_GENERR;
            }
        }
        return SNMP_ERR_NOERROR;
    }

private:
    static std::string strep(const Key& key) {
        using Interface::valueToStrep;
        using Lldp::valueToStrep;
        using Lldp::Snmp::valueToStrep;
        return valueToStrep(key);
    }
    static std::string keyTextOf(const void* key) { return strep(*static_cast<const Key*>(key)); }

    // The key of the row a request names, or nothing when the hint cannot be used.
    static std::optional<Key> keyFromHint(const netsnmp_table_request_info* hint) {
        Module& module = Def::mibModule();
        if (!hint || hint->number_indexes != indexCount)
            return std::nullopt;
        HintValues values{};
        size_t found = 0;
        const netsnmp_variable_list* var = hint->indexes;
        for (size_t i = 0; i < indexCount && var; ++i, var = var->next_variable) {
            const IndexObject& index = Def::indexes[i];
            if (i == 0 && Def::timeFilter) {
                ++found;
                continue;
            }
            if (var->type != index.type) {
                ZTRACE_FROM(module.trace(), module.name(), 2,
                            "hint for " << index.name << " has incorrect type! Expecting "
                                        << static_cast<int>(index.type) << " but got "
                                        << static_cast<int>(var->type));
                break;
            }
            try {
                if (index.type == ASN_PRIV_IMPLIED_OCTET_STR) {
                    if (var->val_len != 3)
                        Zim::throwRangeException("len == 3");
                    values[i] = AsnOctetStringToOui(static_cast<void*>(var->val.string),
                                                    static_cast<U32>(var->val_len))
                                    .value();
                    ZTRACE_FROM(module.trace(), module.name(), 2,
                                "hint component " << index.name << " is '"
                                                  << Lldp::valueToStrep(Lldp::Oui(values[i]))
                                                  << "'");
                } else {
                    values[i] = static_cast<uint32_t>(Snmp::AsnIntegerToS32(var));
                    ZTRACE_FROM(module.trace(), module.name(), 2,
                                "hint component " << index.name << " is '"
                                                  << static_cast<int32_t>(values[i]) << "'");
                }
                if (index.check)
                    index.check(values[i]);
            } catch (const Zim::RangeException& e) {
                ZTRACE_FROM(module.trace(), module.name(), 2,
                            "hint for index " << index.name << " of " << Def::name
                                              << " is out of range! " << e.what());
                return std::nullopt;
            }
            ++found;
        }
        if (found < indexCount) {
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        Def::name << "_get_first_data_point - needed " << indexCount
                                  << " components, found only " << found);
            return std::nullopt;
        }
        try {
            return Def::keyFromHint(values);
        } catch (const Zim::RangeException& e) {
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        "Bad hint for " << Def::name << ": " << Def::keyTypeName
                                        << " ctor threw exception: " << e.what());
            return std::nullopt;
        }
    }

    // Steps past rows the table does not show: neighbours that did not send the table's TLV,
    // and, in the remote tables, rows that changed before the requested time mark.
    static void skipUnwanted(Iterator& loop, netsnmp_variable_list* indexVars, const char* step) {
        uint32_t filter = 0;
        if constexpr (Def::timeFilter) {
            if (indexVars && indexVars->val_len && indexVars->val.integer) {
                filter = static_cast<uint32_t>(*indexVars->val.integer);
            }
        }
        Module& module = Def::mibModule();
        while (!loop.atEnd()) {
            if (!Def::keep(loop)) {
                loop.advance();
                continue;
            }
            if constexpr (Def::timeFilter) {
                const uint32_t mark = Snmp::SecondsToTimeTicks(
                    Snmp::NowSecondsToUptimeSeconds(Def::lastChangeTime(loop.value())));
                if (static_cast<uint32_t>(mark + 2) < filter) {
                    ZTRACE_FROM(module.trace(), module.name(), 2,
                                Def::name << "_get_" << step << "_data_point filtered out "
                                          << static_cast<void*>(&loop));
                    ZTRACE_FROM(module.trace(), module.name(), 4,
                                Def::name << "_get_" << step
                                          << "_data_point: last changed (timeMark) " << mark
                                          << " requested value is " << filter);
                    loop.advance();
                    continue;
                }
                ZTRACE_FROM(module.trace(), module.name(), 8,
                            Def::name << "_get_" << step << "_data_point: last changed (timeMark) "
                                      << mark << " requested value is " << filter);
            }
            return;
        }
    }

    static int refuseWrite(const std::string& handlerName, netsnmp_request_info* requests) {
        Module& module = Def::mibModule();
        for (netsnmp_request_info* request = requests; request; request = request->next) {
            if (request->processed) {
                ZTRACE_FROM(module.trace(), module.name(), 2,
                            handlerName << ": request " << static_cast<void*>(request)
                                        << " already processed");
                continue;
            }
            if constexpr (requires { Def::setRefusal; }) {
                ZTRACE_FROM(module.trace(), module.name(), 0, Def::setRefusal);
            } else {
                auto* info = netsnmp_extract_table_info(request);
                ZTRACE_FROM(module.trace(), module.name(), 0,
                            Def::name << " invalid column " << (info ? info->colnum : 0));
            }
            netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
            return SNMP_ERR_NOERROR;
        }
        return SNMP_ERR_NOERROR;
    }
};

// The agent entity behind a row, or a default one (zeros, empty strings, empty sets) when the
// row refers to none.
template <class T> const T& agentOrDefault(const Zim::Ptr<const T>& agent) {
    if (agent)
        return *agent;
    static const T* const none = [] {
        if constexpr (std::is_constructible_v<T, Zim::String8, int32_t>) {
            return new T("none", 0);
        } else {
            return new T("none");
        }
    }();
    return *none;
}

// Shared parts of definitions.
template <class Module> struct ReadOnlyTable {
    static constexpr int mode = HANDLER_CAN_RONLY;
    static constexpr bool timeFilter = false;
    static constexpr bool hinted = true;
    template <class It> static bool keep(const It&) { return true; }
};

// The per-port tables: one index, the port number. Base is the module's ReadOnlyTable.
template <class Base> struct PortTable : Base {
    static constexpr const char* keyTypeName = "Interface::EthPortId";
    static Interface::EthPortId keyFromHint(const HintValues& v) { return portFromHint(v[0]); }
    static void writeIndexes(IndexWriter& w, const Interface::EthPortId& port) {
        w.integer("portNum", port.value());
    }
};

// The tables of local management addresses: (subtype, address), walked without a hint.
template <class Base> struct LocalManAddrTable : Base {
    using Map = Lldp::Snmp::Root::LocalManagementAddressMap;
    static constexpr bool hinted = false;
    static const Map& rows(const Lldp::Snmp::Root& root) { return root.localManagementAddress(); }
    static void writeIndexes(IndexWriter& w, const Lldp::ManagementAddress::Key& key) {
        w.integer("manAddrSubtype", key.subtype());
        w.octets("manAddr", key.address(), 31);
    }
};

// The remote tables: (time mark, local port, neighbour index, ...), filtered by time mark.
template <class Base> struct RemoteTable : Base {
    static constexpr bool timeFilter = true;
    static double lastChangeTime(const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
        return row->ptr() ? row->ptr()->lastChangeTime() : 0.0;
    }
    template <class Row> static double lastChangeTime(const Row& row) {
        return row.ptr ? row.ptr->lastChangeTime() : 0.0;
    }
    template <class Key> static void writeNeighbour(IndexWriter& w, const Key& key) {
        w.integer("localPortNum", key.ethPortId.value());
        w.integer("index", key.index);
    }
};

// Tables of one row per neighbour, walking the root's remote systems.
template <class Base> struct RemoteSystemTable : RemoteTable<Base> {
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER}};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteSystem::Key";
    using Map = Lldp::Snmp::Root::RemoteSystemMap;
    static const Map& rows(const Lldp::Snmp::Root& root) { return root.remoteSystem(); }
    static Lldp::Snmp::RemoteSystemKey keyFromHint(const HintValues& v) {
        return {portFromHint(v[1]), static_cast<int32_t>(v[2])};
    }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteSystemKey& key) {
        RemoteTable<Base>::writeNeighbour(w, key);
    }
};

} // namespace LldpMibFrame

// The eight functions of one table, named after it, forwarding to the frame.
#define LLDP_MIB_TABLE(table, Def)                                                                 \
    namespace {                                                                                    \
    netsnmp_variable_list* table##_get_first_data_point(void** loopContext, void** dataContext,    \
                                                        netsnmp_variable_list* indexVars,          \
                                                        netsnmp_iterator_info* info) {             \
        return ::LldpMibFrame::Table<Def>::firstDataPoint(loopContext, dataContext, indexVars,     \
                                                          info);                                   \
    }                                                                                              \
    netsnmp_variable_list* table##_get_next_data_point(void** loopContext, void** dataContext,     \
                                                       netsnmp_variable_list* indexVars,           \
                                                       netsnmp_iterator_info* info) {              \
        return ::LldpMibFrame::Table<Def>::nextDataPoint(loopContext, dataContext, indexVars,      \
                                                         info);                                    \
    }                                                                                              \
    void* table##_make_data_context(void* loopContext, netsnmp_iterator_info* info) {              \
        return ::LldpMibFrame::Table<Def>::makeDataContext(loopContext, info);                     \
    }                                                                                              \
    void table##_free_data_context(void* dataContext, netsnmp_iterator_info* info) {               \
        ::LldpMibFrame::Table<Def>::freeDataContext(dataContext, info);                            \
    }                                                                                              \
    void table##_free_loop_context_at_end(void* loopContext, netsnmp_iterator_info* info) {        \
        ::LldpMibFrame::Table<Def>::freeLoopContextAtEnd(loopContext, info);                       \
    }                                                                                              \
    [[maybe_unused]] netsnmp_variable_list*                                                        \
        table##IterationHelper(void* loopContext, netsnmp_variable_list* indexVars) {              \
        return ::LldpMibFrame::Table<Def>::iterationHelper(loopContext, indexVars);                \
    }                                                                                              \
    }                                                                                              \
    int table##_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* reg,           \
                        netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {     \
        return ::LldpMibFrame::Table<Def>::handler(handler, reg, reqinfo, requests);               \
    }                                                                                              \
    void initialize_table_##table(Zim::String8 context) {                                          \
        ::LldpMibFrame::Table<Def>::initialize(                                                    \
            context,                                                                               \
            {table##_get_first_data_point, table##_get_next_data_point, table##_make_data_context, \
             table##_free_data_context, table##_free_loop_context_at_end, table##_handler});       \
    }
