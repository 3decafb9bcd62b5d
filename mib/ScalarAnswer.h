#pragma once
// The answer every scalar of the modules gives, whatever it reads. SET is refused
// (notWritable) and any mode but GET is genErr: the scalar helper has already turned a walk's
// GETNEXT into a GET of the scalar. A value read that the object cannot carry is genErr for a
// GET and stepped over by a walk, so that one value no manager can be shown does not end a
// walk of the whole subtree.
#include "platform/zim/Trace.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <string>

namespace LldpMibFrame {

// A scalar as its traces name it, and the bounds of its value.
struct ScalarValue {
    const char* name;
    const char* path; // of the entity it reads
    const char* attribute;
    const char* conversion;
    u_char asnType;
    int minLength; // octet strings only; -1 for the others
    int maxLength;
};

// True for a GET to answer; otherwise the request's error is set and status is what the
// handler returns.
bool scalarGetToAnswer(const Zim::TraceHandle& trace, const ScalarValue& s,
                       const netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests,
                       int& status);

// Answers with the n bytes the conversion wrote (n < 0: it failed), or with no value at all
// when they do not fit the object's bounds.
int answerScalar(const Zim::TraceHandle& trace, const ScalarValue& s, const unsigned char* buffer,
                 int n, const netsnmp_agent_request_info* reqinfo, netsnmp_request_info* requests);

} // namespace LldpMibFrame
