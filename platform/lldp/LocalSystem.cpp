#include "platform/lldp/LocalSystem.h"

namespace Lldp {

LocalSystem::LocalSystem(Zim::String8 name)
    : Entity(std::move(name)), managementAddressPrio_(Zim::makePtr<ManAddrPrioMap>()) {}

void LocalSystem::managementAddressPrioIs(const ManAddrPriority& prio,
                                          const ManagementAddress::Key& key) {
    if (managementAddressPrio_->set(prio, key)) {
        notifiees_.notify([&](Notifiee& n) { n.onManagementAddressPrio(prio); });
    }
}

void LocalSystem::managementAddressPrioDel(const ManAddrPriority& prio) {
    if (managementAddressPrio_->erase(prio)) {
        notifiees_.notify([&](Notifiee& n) { n.onManagementAddressPrio(prio); });
    }
}

} // namespace Lldp
