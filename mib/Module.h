#pragma once
// What the MIB modules share: the per-context bookkeeping of what each registered with net-snmp
// (so that a context can be unregistered again), the unit's trace handle, and the module's
// initialisation and unregistration around its own scalars and tables.
#include "platform/zim/String8.h"
#include "platform/zim/Trace.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <initializer_list>
#include <list>
#include <map>
#include <memory>

namespace LldpMibFrame {

class Module {
public:
    explicit Module(const char* name) : name_(name) {}
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    const char* name() const noexcept { return name_; }
    // Made on first use, as "Snmp", so that traces enabled after load still reach it.
    const Zim::TraceHandle& trace();

    // Registrations and column records by context, in registration order.
    std::map<Zim::String8, std::list<netsnmp_handler_registration*>> contextHandlerRegistrations;
    std::map<Zim::String8, std::list<netsnmp_column_info*>> contextColumnInfos;

    using Step = void (*)(Zim::String8 context);
    // Runs the module's registration steps (scalars, then each table) for the context and
    // records the context as served.
    int initialize(const Zim::String8& context, std::initializer_list<Step> steps);
    // Undoes every registration of the context, frees its column records, and tells the host.
    void unregister(const Zim::String8& context);

private:
    const char* name_;
    std::unique_ptr<Zim::TraceHandle> trace_;
};

inline std::string quoted(const Zim::String8& context) {
    return "\"" + context.str() + "\"";
}

// Whether the manager walks (GETNEXT or GETBULK): the table iterator and the scalar helper
// turn those into GET before the handler runs, but the PDU still says what was asked.
inline bool walking(const netsnmp_agent_request_info* reqinfo) {
    const netsnmp_pdu* pdu = reqinfo && reqinfo->asp ? reqinfo->asp->pdu : nullptr;
    return pdu && (pdu->command == SNMP_MSG_GETNEXT || pdu->command == SNMP_MSG_GETBULK);
}

// A walk steps over an instance whose value cannot be shown: the agent asks again for what
// follows it (the helpers already named the request after the instance).
inline void stepOver(netsnmp_request_info* request) {
    snmp_set_var_typed_value(request->requestvb, ASN_PRIV_RETRY, nullptr, 0);
}

// The command of the PDU being answered (SNMP_MSG_GET, ...), or 0 outside a request. The
// iterator's row callbacks get no request information, so a handler above the iterator records
// it for them: requestCommandRecorder() makes that handler.
int requestCommand() noexcept;
netsnmp_mib_handler* requestCommandRecorder();

// An OID as net-snmp prints it, for traces.
std::string oidText(const oid* name, size_t length);

} // namespace LldpMibFrame
