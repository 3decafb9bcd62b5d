#pragma once
// The one frame every LLDP table is served by. A table is a definition (see TableContract.h:
// its OID, index objects, the root collection it walks, its key from a request's index, its
// columns); this frame does the rest with net-snmp's table iterator: registration, loop and
// data contexts that are counted iterators over the collection (so a walk survives rows removed
// between two steps), the index hint that turns every request into a tree search, the time
// filter of the remote tables, and the column handler with its error codes.
//
// A module lists its tables once (LLDP_MIB_MODULE below); each table's functions
// keep their MIB names (initialize_table_X, X_handler, X_get_first_data_point, ...) and forward
// here.
#include "mib/ModuleDeclarations.h"
#include "mib/TableContract.h"
#include "mib/TableParts.h"
#include "model/LldpLogCatalogue.h"

#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace LldpMibFrame {

struct Callbacks {
    Netsnmp_First_Data_Point* first;
    Netsnmp_Next_Data_Point* next;
    Netsnmp_Make_Data_Context* makeData;
    Netsnmp_Free_Data_Context* freeData;
    Netsnmp_Free_Loop_Context* freeLoopAtEnd;
    Netsnmp_Node_Handler* handler;
};

template <class Def> class Table {
    static_assert(checkTableDefinition<Def>());
    static_assert(contiguousColumns<Def>(),
                  "table definition: `columns` must be ascending and without gaps");
    static_assert(std::size(Def::indexes) <= std::tuple_size_v<decltype(HintValues::numbers)>,
                  "table definition: more index objects than a hint holds");

public:
    using Map = typename Def::Map;
    using Iterator = typename Map::ConstIterator;
    using Key = std::remove_cvref_t<decltype(std::declval<const Iterator&>().key())>;
    static constexpr size_t indexCount = std::size(Def::indexes);
    static constexpr int minColumn = static_cast<int>(Def::columns[0]);
    static constexpr int maxColumn = static_cast<int>(Def::columns[std::size(Def::columns) - 1]);
    // The remote tables lead with lldpRemTimeMark: a filter, not part of the row's key.
    static constexpr bool timeFilter = Def::indexes[0].type == ASN_TIMETICKS;
    static constexpr bool writable = requires { Def::setRefusal; };

    static void initialize(const Zim::String8& context, const Callbacks& cb) {
        Module& module = Def::mibModule();
        const size_t oidLength = std::size(Def::tableOid);
        ZTRACE_FROM(module.trace(), module.name(), 1,
                    "initialize_table_" << Def::name << " initializing oid "
                                        << oidText(Def::tableOid, oidLength) << " in context "
                                        << quoted(context));
        if (!context.empty()) {
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        "initialize_table_" << Def::name << " in context " << quoted(context)
                                            << " statestorePathWithContext not specified ");
            return;
        }
        const std::string registrationName = std::string(Def::name) + "_" + context.str();
        netsnmp_handler_registration* reg = netsnmp_create_handler_registration(
            registrationName.c_str(), cb.handler, Def::tableOid, oidLength,
            writable ? HANDLER_CAN_RWRITE : HANDLER_CAN_RONLY);
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
        tableInfo->min_column = minColumn;
        tableInfo->max_column = maxColumn;
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
        const int registered = netsnmp_register_table_iterator(reg, iinfo);
        ZIM_ASSERT(registered == SNMPERR_SUCCESS);
        // Above the iterator, so that the row callbacks know whether a GET names one row.
        const int recorded = netsnmp_inject_handler(reg, requestCommandRecorder());
        ZIM_ASSERT(recorded == SNMPERR_SUCCESS);
        // Above the iterator: each iterator call then sees one request, whose index is the hint.
        const int injected = netsnmp_inject_handler(reg, netsnmp_get_serialize_handler());
        ZIM_ASSERT(injected == SNMPERR_SUCCESS);
        ZTRACE_FROM(module.trace(), module.name(), 8,
                    "Initialized table " << Def::name << " in context " << quoted(context));
    }

    static netsnmp_variable_list* firstDataPoint(void** loopContext, void** dataContext,
                                                 netsnmp_variable_list* indexVars,
                                                 netsnmp_iterator_info* info) {
        Module& module = Def::mibModule();
        const auto& rows = Def::rows(*static_cast<const Lldp::Snmp::Root*>(info->myvoid));
        const auto* hint = static_cast<const netsnmp_table_request_info*>(*loopContext);
        ZTRACE_FROM(module.trace(), module.name(), 2,
                    Def::name << "_get_first_data_point - *hint = "
                              << static_cast<const void*>(hint)
                              << ", number_indexes = " << (hint ? hint->number_indexes : 0));
        std::optional<Iterator> start;
        bool hintMatched = false;
        if (auto key = keyFromHint(hint)) {
            // The requested row, or the least greater one: rows before it cannot answer a GET
            // or a GETNEXT of this index, so they are not visited.
            Iterator found = rows.lowerBound(*key);
            hintMatched = !found.atEnd() && !(*key < found.key());
            if (!hintMatched) {
                ZTRACE_FROM(module.trace(), module.name(), 2,
                            Def::name << "_get_first_data_point - key '" << strep(*key)
                                      << "' not found in table");
            }
            start = std::move(found);
        }
        const bool get = exactRowOnly();
        auto* loop = new Iterator(start ? std::move(*start) : rows.begin());
        *loopContext = loop;
        ZTRACE_FROM(module.trace(), module.name(), 2,
                    Def::name << "_get_first_data_point - allocated new loop context "
                              << static_cast<void*>(loop) << ", hintMatched=" << hintMatched);
        if (get && start && !hintMatched) {
            // A GET answers the named row or nothing: net-snmp would otherwise compare every row
            // after it before answering noSuchInstance.
            *loop = Iterator();
            return nullptr;
        }
        using Entry = std::remove_cvref_t<decltype(loop->entry())>;
        const Entry named = get && hintMatched ? loop->entry() : Entry();
        skipUnwanted(*loop, indexVars, "first");
        if (named && !(loop->entry() == named))
            return nullptr; // the named row is not listed (no TLV, filtered by time mark)
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
        if (exactRowOnly())
            return nullptr; // a GET named one row, and it came first
        ZTRACE_FROM(module.trace(), module.name(), 2,
                    Def::name << "_get_next_data_point - advancing loop context "
                              << static_cast<void*>(loop) << " ; data context "
                              << (dataContext ? *dataContext : nullptr));
        loop->advance();
        skipUnwanted(*loop, indexVars, "next");
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
        if constexpr (timeFilter) {
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
            if (column < minColumn || column > maxColumn) {
                ZTRACE_FROM(module.trace(), module.name(), 0,
                            Def::name << " invalid column " << column);
                netsnmp_request_set_error(request, SNMP_NOSUCHOBJECT);
                return SNMP_ERR_NOERROR;
            }
            ColumnAnswer answer(module, Def::name, request, &keyTextOf, &row->key());
            if (!Def::answer(answer, column, row->value())) {
                reportNotShown(answer, row->key());
                if (walking(reqinfo)) {
                    stepOver(request);
                    continue;
                }
                // The serialize handler above the iterator hands over one request per call, so
                // the first request of the call is the one whose value cannot be shown; set on
                // the request, the error's index names its varbind.
                netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
                return SNMP_ERR_NOERROR;
            }
        }
        return SNMP_ERR_NOERROR;
    }

private:
    // Whether the request being answered is a GET, which names exactly one row.
    static bool exactRowOnly() { return requestCommand() == SNMP_MSG_GET; }

    // Logged the first time each instance fails, not at every request for it.
    static void reportNotShown(const ColumnAnswer& answer, const Key& key) {
        static NotShownInstances reported;
        const std::string instance = strep(key);
        if (reported.first(answer.column(), instance))
            Lldp::Snmp::LLDP_SNMP_VALUE_NOT_SHOWN.log(answer.column(), instance, answer.failure());
    }

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
            if (i == 0 && timeFilter) {
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
                decodeComponent(index, *var, i, values);
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

    static void decodeComponent(const IndexObject& index, const netsnmp_variable_list& var,
                                size_t i, HintValues& values) {
        Module& module = Def::mibModule();
        switch (index.type) {
        case ASN_PRIV_IMPLIED_OCTET_STR:
            if (var.val_len != 3)
                Zim::throwRangeException("len == 3");
            values.numbers[i] =
                AsnOctetStringToOui(static_cast<void*>(var.val.string), static_cast<U32>(3))
                    .value();
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        "hint component " << index.name << " is '"
                                          << Lldp::valueToStrep(Lldp::Oui(values[i])) << "'");
            break;
        case ASN_OCTET_STR:
            values.octets = Zim::String8(var.val.string, var.val_len);
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        "hint component " << index.name << " is '" << Zim::printable(values.octets)
                                          << "'");
            break;
        default:
            values.numbers[i] = static_cast<uint32_t>(Snmp::AsnIntegerToS32(&var));
            ZTRACE_FROM(module.trace(), module.name(), 2,
                        "hint component " << index.name << " is '"
                                          << static_cast<int32_t>(values[i]) << "'");
            break;
        }
        if (index.check)
            index.check(values[i]);
    }

    // Steps past rows the table does not show: neighbours that did not send the table's TLV,
    // and, in the remote tables, rows that changed before the requested time mark.
    static void skipUnwanted(Iterator& loop, netsnmp_variable_list* indexVars, const char* step) {
        uint32_t filter = 0;
        if constexpr (timeFilter) {
            if (indexVars && indexVars->val_len && indexVars->val.integer) {
                filter = static_cast<uint32_t>(*indexVars->val.integer);
            }
        }
        Module& module = Def::mibModule();
        while (!loop.atEnd()) {
            if constexpr (requires { Def::keep; }) {
                if (!Def::keep(loop)) {
                    loop.advance();
                    continue;
                }
            }
            if constexpr (timeFilter) {
                const uint32_t mark = Snmp::SecondsToTimeTicks(
                    Snmp::NowSecondsToUptimeSeconds(lastChangeTime(loop.value())));
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
            if constexpr (writable) {
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

} // namespace LldpMibFrame

// The functions of one table, named after it, forwarding to the frame; the definition is the
// struct named <table>Def.
#define LLDP_MIB_TABLE(table)                                                                      \
    namespace {                                                                                    \
    using table##Frame = ::LldpMibFrame::Table<table##Def>;                                        \
    netsnmp_variable_list* table##_get_first_data_point(void** loopContext, void** dataContext,    \
                                                        netsnmp_variable_list* indexVars,          \
                                                        netsnmp_iterator_info* info) {             \
        return table##Frame::firstDataPoint(loopContext, dataContext, indexVars, info);            \
    }                                                                                              \
    netsnmp_variable_list* table##_get_next_data_point(void** loopContext, void** dataContext,     \
                                                       netsnmp_variable_list* indexVars,           \
                                                       netsnmp_iterator_info* info) {              \
        return table##Frame::nextDataPoint(loopContext, dataContext, indexVars, info);             \
    }                                                                                              \
    void* table##_make_data_context(void* loopContext, netsnmp_iterator_info* info) {              \
        return table##Frame::makeDataContext(loopContext, info);                                   \
    }                                                                                              \
    void table##_free_data_context(void* dataContext, netsnmp_iterator_info* info) {               \
        table##Frame::freeDataContext(dataContext, info);                                          \
    }                                                                                              \
    void table##_free_loop_context_at_end(void* loopContext, netsnmp_iterator_info* info) {        \
        table##Frame::freeLoopContextAtEnd(loopContext, info);                                     \
    }                                                                                              \
    [[maybe_unused]] netsnmp_variable_list*                                                        \
        table##IterationHelper(void* loopContext, netsnmp_variable_list* indexVars) {              \
        return table##Frame::iterationHelper(loopContext, indexVars);                              \
    }                                                                                              \
    }                                                                                              \
    int table##_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* reg,           \
                        netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {     \
        return table##Frame::handler(handler, reg, reqinfo, requests);                             \
    }                                                                                              \
    void initialize_table_##table(Zim::String8 context) {                                          \
        table##Frame::initialize(context,                                                          \
                                 {table##_get_first_data_point, table##_get_next_data_point,       \
                                  table##_make_data_context, table##_free_data_context,            \
                                  table##_free_loop_context_at_end, table##_handler});             \
    }

// One module: its tables from its list, then init_<module> (the steps before the tables, then
// every table in list order), unregister_<module>, and its announcement to the host at load.
#define LLDP_MIB_INITIALIZE_TABLE(table) initialize_table_##table,
#define LLDP_MIB_MODULE(moduleName, moduleOf, TABLES, ...)                                         \
    TABLES(LLDP_MIB_TABLE)                                                                         \
    int init_##moduleName(Zim::String8 context) {                                                  \
        return moduleOf().initialize(                                                              \
            context, {__VA_OPT__(__VA_ARGS__, ) TABLES(LLDP_MIB_INITIALIZE_TABLE)});               \
    }                                                                                              \
    void unregister_##moduleName(Zim::String8 context) {                                           \
        moduleOf().unregister(context);                                                            \
    }                                                                                              \
    namespace {                                                                                    \
    const ::LldpMibFrame::ModuleAnnouncement moduleName##Announcement(init_##moduleName);          \
    }
