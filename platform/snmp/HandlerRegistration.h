#pragma once
// How a plug-in's MIB modules make themselves known to the host. Each module unit holds one
// static HandlerRegistration and one static AutoRegistree; constructing the AutoRegistree
// announces the module, and the host later calls initHandler(context) for each context it
// serves. Which (context, module) pairs are served is kept by registerMibContext.
#include "platform/zim/String8.h"

#include <set>
#include <utility>
#include <vector>

namespace Snmp {

class HandlerRegistration {
public:
    HandlerRegistration() = default;
    HandlerRegistration(const HandlerRegistration&) = delete;
    HandlerRegistration& operator=(const HandlerRegistration&) = delete;
    virtual ~HandlerRegistration() = default;
    virtual void initHandler(Zim::String8 context) = 0;
};

class AutoRegistree {
public:
    explicit AutoRegistree(HandlerRegistration* registration);
    ~AutoRegistree();
    AutoRegistree(const AutoRegistree&) = delete;
    AutoRegistree& operator=(const AutoRegistree&) = delete;

private:
    HandlerRegistration* registration_;
};

// The announced registrations, in announcement order.
const std::vector<HandlerRegistration*>& handlerRegistrations();

void registerMibContext(Zim::String8 context, Zim::String8 moduleName);
void unregisterMibContext(Zim::String8 context, Zim::String8 moduleName);
// (context, module) pairs currently served.
const std::set<std::pair<Zim::String8, Zim::String8>>& mibContexts();

} // namespace Snmp
