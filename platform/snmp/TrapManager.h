#pragma once
// The host's notification queue. Plug-ins enqueue a finished SNMPv2 variable list (snmpTrapOID.0
// first); the host sends the queue from its event loop through net-snmp, to the configured
// trap and inform receivers, or through the master agent when it runs as an AgentX subagent.
#include "platform/zim/Entity.h"
#include "platform/zim/String8.h"

#include <deque>
#include <functional>

struct variable_list;

namespace Snmp {

class TrapManager : public Zim::Entity {
public:
    using Sender = std::function<void(variable_list* vars, const Zim::String8& context)>;

    TrapManager() : Entity("trapManager") {}
    const char* typeName() const noexcept override { return "Snmp::TrapManager"; }

    // Takes ownership of vars.
    void enqueueTrap(variable_list* vars, Zim::String8 context);
    // Sends and frees everything queued; returns how many were sent.
    size_t flush();
    size_t queued() const noexcept { return queue_.size(); }
    size_t sent() const noexcept { return sent_; }
    // Replaces net-snmp's send_v2trap (tests); the sender must not keep vars.
    void senderIs(Sender sender) { sender_ = std::move(sender); }
    // Called after each enqueue so that the host can wake its loop.
    void onEnqueueIs(std::function<void()> hook) { onEnqueue_ = std::move(hook); }

    static Zim::Ptr<TrapManager> instance();

private:
    struct Pending {
        variable_list* vars;
        Zim::String8 context;
    };
    std::deque<Pending> queue_;
    size_t sent_ = 0;
    Sender sender_;
    std::function<void()> onEnqueue_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~TrapManager() override;
};

} // namespace Snmp
