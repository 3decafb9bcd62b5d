#pragma once
// The plug-in's three modules registered in-process with net-snmp, on a state store that holds
// the agent's entities and the mirror root, as the host mounts them; and a capture of the
// trace lines that the modules write.
#include "mib/LldpMIB.h"
#include "mib/LldpXdot1MIB.h"
#include "mib/LldpXdot3MIB.h"
#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/LocalSystem.h"
#include "platform/lldp/Status.h"
#include "platform/snmp/SnmpUtil.h"
#include "platform/zim/Trace.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace MibTest {

struct Agent {
    Zim::Ptr<Lldp::Config> config = Zim::makePtr<Lldp::Config>("config");
    Zim::Ptr<Lldp::AllStatus> status = Zim::makePtr<Lldp::AllStatus>("all");
    Zim::Ptr<Lldp::LocalSystem> localSystem = Zim::makePtr<Lldp::LocalSystem>("localSystem");
    Zim::Ptr<Zim::Dir> store = Zim::makePtr<Zim::Dir>("store");
    Lldp::Snmp::Root::Ptr root = Lldp::Snmp::rootFactory("root");

    Agent() {
        store->mount("Statestore/l2discovery/lldp/config", config);
        store->mount("Statestore/l2discovery/lldp/status/all", status);
        store->mount("Statestore/l2discovery/lldp/localSystem", localSystem);
        store->mount("snmp/lldp/root", root);
        SnmpUtil::stateStoreIs(store);
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
        init_agent("lldp-frame-test");
        init_LldpMIB("");
        init_LldpXdot1MIB("");
        init_LldpXdot3MIB("");
    }
};

inline Agent& agent() {
    static Agent a;
    return a;
}

inline netsnmp_iterator_info* iteratorOf(std::initializer_list<oid> table) {
    std::vector<oid> name(table);
    netsnmp_subtree* tree = netsnmp_subtree_find(name.data(), name.size(), nullptr, "");
    if (!tree || !tree->reginfo)
        return nullptr;
    netsnmp_mib_handler* handler = netsnmp_find_handler_by_name(tree->reginfo, "table_iterator");
    return handler ? static_cast<netsnmp_iterator_info*>(handler->myvoid) : nullptr;
}

class TraceCapture {
public:
    explicit TraceCapture(const char* settings) {
        Zim::traceSettingsIs(settings);
        Zim::traceSinkIs([this](const Zim::TraceRecord& r) { lines.push_back(r.text); });
    }
    ~TraceCapture() {
        Zim::traceSinkIs({});
        Zim::traceSettingsIs("");
    }
    bool has(const std::string& text) const {
        for (const auto& l : lines) {
            if (l.find(text) != std::string::npos)
                return true;
        }
        return false;
    }
    std::vector<std::string> lines;
};

// The registration serving an OID when it is the one named, else null (net-snmp's own
// placeholders cover everything nobody registered).
inline netsnmp_handler_registration* registrationAt(std::initializer_list<oid> name,
                                                    const std::string& handlerName) {
    std::vector<oid> n(name);
    netsnmp_subtree* tree = netsnmp_subtree_find(n.data(), n.size(), nullptr, "");
    if (!tree || !tree->reginfo || !tree->reginfo->handlerName)
        return nullptr;
    return handlerName == tree->reginfo->handlerName ? tree->reginfo : nullptr;
}

} // namespace MibTest
