#include "platform/snmp/TrapManager.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

namespace Snmp {

TrapManager::~TrapManager() {
    for (auto& p : queue_)
        snmp_free_varbind(p.vars);
}

void TrapManager::enqueueTrap(variable_list* vars, Zim::String8 context) {
    if (!vars)
        return;
    queue_.push_back({vars, std::move(context)});
    if (onEnqueue_)
        onEnqueue_();
}

size_t TrapManager::flush() {
    size_t count = 0;
    while (!queue_.empty()) {
        Pending p = queue_.front();
        queue_.pop_front();
        if (sender_) {
            sender_(p.vars, p.context);
        } else {
            send_v2trap(p.vars);
        }
        snmp_free_varbind(p.vars);
        ++count;
        ++sent_;
    }
    return count;
}

Zim::Ptr<TrapManager> TrapManager::instance() {
    return Zim::Entity::singletonIs<TrapManager>("Snmp::TrapManager");
}

} // namespace Snmp
