#include "mib/Module.h"

#include "platform/snmp/HandlerRegistration.h"

#include <cstdlib>

namespace LldpMibFrame {

const Zim::TraceHandle& Module::trace() {
    if (!trace_)
        trace_ = std::make_unique<Zim::TraceHandle>("Snmp", false);
    return *trace_;
}

int Module::initialize(const Zim::String8& context, std::initializer_list<Step> steps) {
    if (snmp_get_do_debugging())
        DEBUGMSGTL((name_, "Initializing in context \"%s\"\n", context.str().c_str()));
    for (Step step : steps)
        step(context);
    Snmp::registerMibContext(context, name_);
    return 0;
}

void Module::unregister(const Zim::String8& context) {
    ZTRACE_FROM(trace(), name_, 2, "Unregistering " << name_ << " in context " << quoted(context));

    const auto registrations = contextHandlerRegistrations[context];
    for (auto* registration : registrations)
        netsnmp_unregister_handler(registration);
    contextHandlerRegistrations.erase(context);

    const auto columnInfos = contextColumnInfos[context];
    for (auto* head : columnInfos) {
        while (head) {
            auto* next = head->next;
            std::free(head);
            head = next;
        }
    }
    contextColumnInfos.erase(context);

    Snmp::unregisterMibContext(context, name_);
}

namespace {

int currentCommand = 0;

int recordRequestCommand(netsnmp_mib_handler* handler, netsnmp_handler_registration* reginfo,
                         netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    const int outer = currentCommand;
    currentCommand = reqinfo && reqinfo->asp && reqinfo->asp->pdu ? reqinfo->asp->pdu->command : 0;
    const int result = netsnmp_call_next_handler(handler, reginfo, reqinfo, requests);
    currentCommand = outer;
    return result;
}

} // namespace

int requestCommand() noexcept {
    return currentCommand;
}

netsnmp_mib_handler* requestCommandRecorder() {
    // One per registration: net-snmp frees a registration's handlers with it.
    return netsnmp_create_handler("lldpRequestCommand", recordRequestCommand);
}

std::string oidText(const oid* name, size_t length) {
    char buffer[200];
    snprint_objid(buffer, sizeof buffer, name, length);
    return buffer;
}

} // namespace LldpMibFrame
