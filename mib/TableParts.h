#pragma once
// The pieces table definitions are written with: index objects and their checks, the writer of
// a row's index values, the answer to one column, and the shared parts of the kinds of table
// (per-port, local management address, remote) that definitions derive from.
#include "conv/SnmpConversions.h"
#include "mib/Module.h"
#include "mib/TableContract.h"
#include "model/Root.h"
#include "platform/snmp/Conversions.h"
#include "platform/snmp/HandlerRegistration.h"
#include "platform/snmp/SnmpUtil.h"
#include "platform/zim/Assert.h"
#include "platform/zim/Exception.h"

#include <string>
#include <type_traits>
#include <unordered_set>

namespace LldpMibFrame {

void checkVlanId(uint32_t value);
void checkVlanIdOrNone(uint32_t value);

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
    // After a false answer: the column asked and why its value cannot be shown.
    const char* column() const noexcept { return column_; }
    const std::string& failure() const noexcept { return failure_; }
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
    const char* column_ = "";
    std::string failure_;
};

// The instances whose value could not be shown, so each is logged once. Bounded: past the
// bound it starts afresh, so a long-running agent still logs what is new.
class NotShownInstances {
public:
    bool first(const std::string& column, const std::string& instance);

private:
    static constexpr size_t bound = 4096;
    std::unordered_set<std::string> seen_;
};

// Looks the root up where the host mounted it; a missing or mistyped root stops the host.
Lldp::Snmp::Root* registeredRoot(const char* table);

// The agent entity behind a row, or a default one (zeros, empty strings, empty sets) when the
// row refers to none.
template <class T> const T& agentOrDefault(const Zim::Ptr<const T>& agent) {
    if (agent)
        return *agent;
    // Made once and kept for the life of the process: rows are answered until exit.
    static const auto* const none = new Zim::Ptr<const T>([] {
        if constexpr (requires { new T(Zim::String8("none"), int32_t{0}); }) {
            return Zim::makePtr<T>("none", 0);
        } else {
            return Zim::makePtr<T>("none");
        }
    }());
    return **none;
}

// When a remote row last changed: its neighbour's change time, the time filter's measure.
inline double lastChangeTime(const Zim::Ptr<Lldp::Snmp::RemoteSystem>& row) {
    return row->ptr() ? row->ptr()->lastChangeTime() : 0.0;
}
template <class Row> double lastChangeTime(const Row& row) {
    return row.ptr ? row.ptr->lastChangeTime() : 0.0;
}

// The kinds of table. InModule is the module's base, which supplies mibModule().

// The per-port tables: one index, the port number.
template <class InModule> struct PortTable : InModule {
    static constexpr const char* keyTypeName = "Interface::EthPortId";
    static Interface::EthPortId keyFromHint(const HintValues& v) { return portFromHint(v[0]); }
    static void writeIndexes(IndexWriter& w, const Interface::EthPortId& port) {
        w.integer("portNum", port.value());
    }
};

// The management address of a request's index: (subtype, length-prefixed address).
inline Lldp::ManagementAddress::Key manAddrFromHint(uint32_t subtype, const HintValues& v) {
    return Lldp::ManagementAddress::Key(static_cast<int32_t>(subtype), v.octets);
}

// The tables of local management addresses: (subtype, address).
template <class InModule> struct LocalManAddrTable : InModule {
    using Map = Lldp::Snmp::Root::LocalManagementAddressMap;
    static constexpr const char* keyTypeName = "Lldp::ManagementAddress::Key";
    static const Map& rows(const Lldp::Snmp::Root& root) { return root.localManagementAddress(); }
    static Lldp::ManagementAddress::Key keyFromHint(const HintValues& v) {
        return manAddrFromHint(v[0], v);
    }
    static void writeIndexes(IndexWriter& w, const Lldp::ManagementAddress::Key& key) {
        w.integer("manAddrSubtype", key.subtype());
        w.octets("manAddr", key.address(), 31);
    }
};

// The remote tables: (time mark, local port, neighbour index, ...), filtered by time mark.
template <class InModule> struct RemoteTable : InModule {
    template <class Key> static void writeNeighbour(IndexWriter& w, const Key& key) {
        w.integer("localPortNum", key.ethPortId.value());
        w.integer("index", key.index);
    }
};

using RemoteSystemFilter = bool (*)(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator&);
inline bool everyNeighbour(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator&) {
    return true;
}

// Tables of one row per neighbour, walking the root's remote systems; the extension tables
// list only the neighbours that sent their TLV (sentTlv).
template <class InModule, RemoteSystemFilter sentTlv = everyNeighbour>
struct RemoteSystemTable : RemoteTable<InModule> {
    static constexpr IndexObject indexes[] = {{"lldpRemTimeMark", ASN_TIMETICKS},
                                              {"lldpRemLocalPortNum", ASN_INTEGER},
                                              {"lldpRemIndex", ASN_INTEGER}};
    static constexpr const char* keyTypeName = "Lldp::Snmp::RemoteSystem::Key";
    using Map = Lldp::Snmp::Root::RemoteSystemMap;
    static const Map& rows(const Lldp::Snmp::Root& root) { return root.remoteSystem(); }
    static bool keep(const Map::ConstIterator& row) { return sentTlv(row); }
    static Lldp::Snmp::RemoteSystemKey keyFromHint(const HintValues& v) {
        return {portFromHint(v[1]), static_cast<int32_t>(v[2])};
    }
    static void writeIndexes(IndexWriter& w, const Lldp::Snmp::RemoteSystemKey& key) {
        RemoteTable<InModule>::writeNeighbour(w, key);
    }
};

// A module's announcement to the host at load: the host calls its init for each context.
class ModuleAnnouncement : public Snmp::HandlerRegistration {
public:
    explicit ModuleAnnouncement(int (*init)(Zim::String8 context))
        : init_(init), registree_(this) {}
    void initHandler(Zim::String8 context) override { (void)init_(context); }

private:
    int (*init_)(Zim::String8 context);
    Snmp::AutoRegistree registree_;
};

} // namespace LldpMibFrame
