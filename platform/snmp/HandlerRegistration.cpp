#include "platform/snmp/HandlerRegistration.h"

#include <algorithm>

namespace Snmp {

namespace {
std::vector<HandlerRegistration*>& registry() {
    static std::vector<HandlerRegistration*> registrations;
    return registrations;
}
std::set<std::pair<Zim::String8, Zim::String8>>& contexts() {
    static std::set<std::pair<Zim::String8, Zim::String8>> served;
    return served;
}
} // namespace

AutoRegistree::AutoRegistree(HandlerRegistration* registration) : registration_(registration) {
    registry().push_back(registration_);
}

AutoRegistree::~AutoRegistree() {
    std::erase(registry(), registration_);
}

const std::vector<HandlerRegistration*>& handlerRegistrations() {
    return registry();
}

void registerMibContext(Zim::String8 context, Zim::String8 moduleName) {
    contexts().emplace(std::move(context), std::move(moduleName));
}

void unregisterMibContext(Zim::String8 context, Zim::String8 moduleName) {
    contexts().erase({std::move(context), std::move(moduleName)});
}

const std::set<std::pair<Zim::String8, Zim::String8>>& mibContexts() {
    return contexts();
}

} // namespace Snmp
