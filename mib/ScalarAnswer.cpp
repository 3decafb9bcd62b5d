#include "mib/ScalarAnswer.h"

#include "mib/Module.h"

namespace LldpMibFrame {

namespace {

std::string handlerOf(const ScalarValue& s) {
    return std::string("handle_") + s.name;
}

} // namespace

bool scalarGetToAnswer(const Zim::TraceHandle& trace, const ScalarValue& s,
                       const netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests,
                       int& status) {
    const int mode = reqinfo->mode;
    if (mode >= MODE_SET_RESERVE1 && mode <= MODE_SET_UNDO) {
        ZTRACE(trace, 2, handlerOf(s) << " - SET is not configured for " << s.name);
        netsnmp_request_set_error(requests, SNMP_ERR_NOTWRITABLE);
        status = SNMP_ERR_NOERROR;
        return false;
    }
    if (mode != MODE_GET) {
        ZTRACE(trace, 2, handlerOf(s) << " - unknown mode from request: " << mode);
        netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
        status = SNMP_ERR_GENERR;
        return false;
    }
    return true;
}

int answerScalar(const Zim::TraceHandle& trace, const ScalarValue& s, const unsigned char* buffer,
                 int n, const netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests) {
    ZTRACE(trace, 2,
           handlerOf(s) << " - " << s.conversion << " returned " << n << "bytes for " << s.path
                        << "->" << s.attribute << "()");
    const auto notShown = [&] {
        if (walking(reqinfo)) {
            stepOver(requests);
        } else {
            netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
        }
        return SNMP_ERR_NOERROR;
    };
    if (n < 0) {
        ZTRACE(trace, 2, handlerOf(s) << " - " << s.conversion << " failed for: " << s.attribute);
        return notShown();
    }
    if (s.minLength >= 0 && (n < s.minLength || n > s.maxLength)) {
        ZTRACE(trace, 2,
               handlerOf(s) << " - entity /<sysname>/" << s.path
                            << " length out of range: " << s.attribute << " (" << n << ")");
        return notShown();
    }
    snmp_set_var_typed_value(requests->requestvb, s.asnType, buffer, static_cast<size_t>(n));
    return SNMP_ERR_NOERROR;
}

} // namespace LldpMibFrame
