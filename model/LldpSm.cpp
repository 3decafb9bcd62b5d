#include "model/LldpSm.h"

#include "conv/SnmpConversions.h"
#include "model/LldpSnmpTrace.h"
#include "platform/zim/Assert.h"
#include "platform/zim/Clock.h"
#include "platform/zim/Exception.h"
#include "platform/zim/Jotlog.h"

#include <limits>

namespace Lldp::Snmp {

namespace {

const Zim::TraceHandle& trace() {
    return lldpSnmpTraceHandle();
}

// The notification interval when no configuration entity is followed: the agent's interval is
// a fixed constant, so the value is the same.
constexpr int32_t fixedNotificationInterval = 5;

std::string text(const ManagementAddress::Key& key) {
    return Lldp::valueToStrep(key);
}
std::string text(Interface::EthPortId port) {
    return Interface::valueToStrep(port);
}

Interface::EthPortId portArgument(std::string_view operation, const std::vector<std::any>& args) {
    if (args.size() > 1) {
        if (const auto* port = std::any_cast<Interface::EthPortId>(&args[1]))
            return *port;
        // Plain numbers go through the port id's own range check; wider values are clamped
        // first so that they cannot wrap into the valid range.
        auto checked = [](uint64_t value) {
            return Interface::EthPortId(static_cast<uint16_t>(
                std::min<uint64_t>(value, std::numeric_limits<uint16_t>::max())));
        };
        if (const auto* port = std::any_cast<unsigned short>(&args[1]))
            return checked(*port);
        if (const auto* port = std::any_cast<unsigned>(&args[1]))
            return checked(*port);
        if (const auto* port = std::any_cast<int>(&args[1])) {
            return checked(*port < 0 ? std::numeric_limits<uint64_t>::max()
                                     : static_cast<uint64_t>(*port));
        }
    }
    return Zim::genericArgument<Interface::EthPortId>(operation, args, 1);
}

} // namespace

// --- reactors ------------------------------------------------------------------------------

void LldpSm::ZimStatus::onRemTablesLastChangeTime() {
    if (!lldpSm_)
        return;
    const LldpSm::Ptr keep(lldpSm_);
    keep->handleLastChangeTime();
}

void LldpSm::ZimStatus::onNotifierIs() {
    if (!lldpSm_ || !notifier() || !lldpSm_->initialized())
        return;
    const LldpSm::Ptr keep(lldpSm_);
    keep->handleLastChangeTime();
}

void LldpSm::ZimLocalSystem::onManagementAddress(const ManagementAddress::Key& key) {
    if (!lldpSm_)
        return;
    const LldpSm::Ptr keep(lldpSm_);
    keep->handleManagementAddress(key);
}

void LldpSm::ZimLocalSystem::onManagementAddressPrio(const ManAddrPriority& prio) {
    if (!lldpSm_)
        return;
    const LldpSm::Ptr keep(lldpSm_);
    keep->handleManagementAddressPrio(prio);
}

// --- the machine ---------------------------------------------------------------------------

LldpSm::LldpSm(const Zim::Ptr<const Lldp::AllStatus>& status,
               const Zim::Ptr<const Lldp::LocalSystem>& localSystem,
               const Zim::Ptr<const Lldp::Config>& config, const Root::Ptr& root)
    : config_(config), root_(root) {
    if (!root_)
        Zim::throwRangeException("null ValidPtr");
    if (status)
        newStatus(status);
    if (localSystem)
        newLocalSystem(localSystem);
    handleInitialized();
}

LldpSm::~LldpSm() {
    if (status_)
        status_->lldpSmIs(nullptr);
    if (localSystem_)
        localSystem_->lldpSmIs(nullptr);
    manAddr_.clear();
    manAddrPrio_.clear();
}

Zim::Ptr<const Lldp::AllStatus> LldpSm::status() const {
    return status_ ? status_->notifier() : Zim::Ptr<const Lldp::AllStatus>();
}

Zim::Ptr<const Lldp::LocalSystem> LldpSm::localSystem() const {
    return localSystem_ ? localSystem_->notifier() : Zim::Ptr<const Lldp::LocalSystem>();
}

void LldpSm::newStatus(const Zim::Ptr<const Lldp::AllStatus>& status) {
    // In place before it is pointed at the status: pointing it may already report a change
    // (when initialised), and the report must read the new status's counters.
    status_ = std::make_unique<ZimStatus>(this);
    status_->notifierIs(status);
}

void LldpSm::newLocalSystem(const Zim::Ptr<const Lldp::LocalSystem>& localSystem) {
    localSystem_ = std::make_unique<ZimLocalSystem>(this);
    localSystem_->notifierIs(localSystem);
}

void LldpSm::statusIs(const Zim::Ptr<const Lldp::AllStatus>& status) {
    if (!status)
        return statusDel();
    if (status_ && status_->notifier() == status)
        return;
    newStatus(status);
}

void LldpSm::statusDel() {
    status_.reset();
}

void LldpSm::localSystemIs(const Zim::Ptr<const Lldp::LocalSystem>& localSystem) {
    if (!localSystem)
        return localSystemDel();
    if (localSystem_ && localSystem_->notifier() == localSystem)
        return;
    newLocalSystem(localSystem);
}

void LldpSm::localSystemDel() {
    localSystem_.reset();
}

ManAddrPriority LldpSm::manAddrPrio(const ManagementAddress::Key& key) const {
    auto it = manAddrPrio_.find(key);
    return it == manAddrPrio_.end() ? ManAddrPriority() : it->second;
}

void LldpSm::manAddrIs(const ManAddrPriority& prio, const ManagementAddress::Key& key) {
    manAddr_[prio] = key;
}

ManagementAddress::Key LldpSm::manAddrDel(const ManAddrPriority& prio) {
    auto it = manAddr_.find(prio);
    if (it == manAddr_.end())
        return {};
    auto key = it->second;
    manAddr_.erase(it);
    return key;
}

void LldpSm::manAddrPrioIs(const ManagementAddress::Key& key, const ManAddrPriority& prio) {
    manAddrPrio_[key] = prio;
}

ManAddrPriority LldpSm::manAddrPrioDel(const ManagementAddress::Key& key) {
    auto it = manAddrPrio_.find(key);
    if (it == manAddrPrio_.end())
        return {};
    auto prio = it->second;
    manAddrPrio_.erase(it);
    return prio;
}

std::optional<ManagementAddress::Key> LldpSm::priorityIs(const ManAddrPriority& prio,
                                                         const ManagementAddress::Key& key) {
    std::optional<ManagementAddress::Key> displaced;
    if (auto held = manAddr_.find(prio); held != manAddr_.end() && held->second != key) {
        displaced = held->second;
        manAddrPrioDel(held->second);
        manAddrDel(prio);
    }
    if (auto had = manAddrPrio_.find(key); had != manAddrPrio_.end() && had->second != prio) {
        // The address moves to another place; its old place must not name it any more.
        manAddrDel(had->second);
        manAddrPrioDel(key);
    }
    manAddrIs(prio, key);
    manAddrPrioIs(key, prio);
    return displaced;
}

void LldpSm::handleInitialized() {
    static constexpr const char* signature = "void Lldp::Snmp::LldpSm::handleInitialized()";
    const Jotlog::BlockTimer timer(signature);
    ZTRACE(trace(), 1, signature);
    ZTRACE(trace(), 8, "LldpSm::handleInitialized()");
    ZIM_ASSERT(!initialized());
    initialized_ = true;

    if (const auto system = localSystem()) {
        // Rows first; they get ports only once the priorities below are known.
        for (const auto& key : system->managementAddress().keys())
            handleManagementAddress(key);
        for (auto it = system->managementAddressPrio().begin(); !it.atEnd(); ++it) {
            handleManagementAddressPrio(it.key());
        }
    }

    // From now on the port-list conversion reads this root.
    ::lldpRootIs(root_);
}

void LldpSm::handleManagementAddress(const ManagementAddress::Key& key) {
    ZIM_ASSERT(initialized());
    ZTRACE(trace(), 2, "LldpSm::handleManagementAddress( " << text(key) << " )");
    const auto system = localSystem();
    if (system && system->managementAddress().contains(key)) {
        doAddLocalManagementAddress(*this, key);
    } else {
        doRemoveLocalManagementAddress(*this, key);
    }
}

void LldpSm::handleManagementAddressPrio(const ManAddrPriority& prio) {
    ZIM_ASSERT(initialized());
    ZTRACE(trace(), 2, "LldpSm::handleManagementAddressPrio( " << Lldp::valueToStrep(prio) << " )");
    const auto system = localSystem();
    const ManagementAddress::Key* held =
        system ? system->managementAddressPrio().find(prio) : nullptr;
    if (held) {
        const ManagementAddress::Key manAddrKey = *held;
        ZIM_ASSERT_NAMED(system->managementAddress().contains(manAddrKey),
                         "a prioritised management address is one of the local system's addresses");
        if (const auto displaced = priorityIs(prio, manAddrKey)) {
            // An address without a priority is not mirrored once it has had one.
            doRemoveLocalManagementAddress(*this, *displaced);
        }
        doAddLocalManagementAddress(*this, manAddrKey);
        return;
    }
    // Losing its priority removes the whole address row, not just its ports. A priority never
    // recorded names no address, so there is nothing to remove.
    if (manAddr_.find(prio) == manAddr_.end())
        return;
    const auto key = manAddrDel(prio);
    manAddrPrioDel(key);
    doRemoveLocalManagementAddress(*this, key);
}

void LldpSm::handleLocalPort(const Ifkit::IntfId& intfId, Interface::EthPortId port) {
    ZIM_ASSERT(initialized());
    ZTRACE(trace(), 2, "LldpSm::handleLocalPort( " << Ifkit::valueToStrep(intfId) << " )");
    const auto system = localSystem();
    if (!system)
        return;
    const bool local = system->localPort().contains(intfId);
    for (auto it = system->managementAddressPrio().begin(); !it.atEnd(); ++it) {
        if (local) {
            doAddLocalManagementAddressPort(*this, it.value(), port);
        } else {
            doRemoveLocalManagementAddressPort(*this, it.value(), port);
        }
    }
}

void LldpSm::handleLastChangeTime() {
    static constexpr const char* signature = "void Lldp::Snmp::LldpSm::handleLastChangeTime()";
    Jotlog::record(signature);
    const Jotlog::BlockTimer timer(signature);
    ZIM_ASSERT(initialized());

    const double now = Zim::now();
    const int32_t interval = config_ ? config_->notificationInterval() : fixedNotificationInterval;
    if (lastNotificationTime_ + interval > now) {
        ZTRACE(trace(), 6,
               "Suppressing lldpRemTablesChange notification at time " << std::to_string(now));
        return;
    }
    const auto current = status();
    if (!current) {
        // Nothing to report from: the counters belong to the status entity.
        ZTRACE(trace(), 4,
               "No lldpRemTablesChange notification at time " << std::to_string(now)
                                                              << ": no status followed");
        return;
    }
    const int err = ::Snmp::lldpRemTablesChangeNotify(
        current->remTablesInserts(), current->remTablesDeletes(), current->remTablesDrops(),
        current->remTablesAgeouts(), "");
    JOTLOG("Generated lldpRemTablesChange notification at time " << std::to_string(now)
                                                                 << " err= " << err);
    ZTRACE(trace(), 4,
           "Generated lldpRemTablesChange notification at time " << std::to_string(now)
                                                                 << ", err=" << err);
    ZIM_ASSERT(err == (0));
    lastNotificationTimeIs(now);
}

void LldpSm::handleMedTopologyChange(const Zim::Ptr<const Lldp::RemoteSystem>& neighbour,
                                     Interface::EthPortId port, int32_t index) {
    ZIM_ASSERT(initialized());
    const double now = Zim::now();
    const int32_t interval = config_ ? config_->notificationInterval() : fixedNotificationInterval;
    if (lastMedNotificationTime_ + interval > now) {
        ZTRACE(trace(), 6,
               "Suppressing lldpXMedTopologyChangeDetected notification at time "
                   << std::to_string(now));
        return;
    }
    const int err = ::Snmp::lldpXMedTopologyChangeDetectedNotify(*neighbour, port, index, "");
    JOTLOG("Generated lldpXMedTopologyChangeDetected notification at time " << std::to_string(now)
                                                                            << " err= " << err);
    ZTRACE(trace(), 4,
           "Generated lldpXMedTopologyChangeDetected notification at time " << std::to_string(now)
                                                                            << ", err=" << err);
    ZIM_ASSERT(err == (0));
    lastMedNotificationTimeIs(now);
}

std::string LldpSm::strRep() const {
    return "Lldp::Snmp::LldpSm(" + (root_ ? root_->fullName() : std::string("None")) + ")";
}

std::string LldpSm::attributeStrRep(std::string_view attribute) const {
    if (attribute == "lastNotificationTime")
        return std::to_string(lastNotificationTime_);
    if (attribute == "manAddrPrio") {
        // In priority order, so the text does not depend on hashing.
        std::string out = "{";
        const char* separator = "";
        for (const auto& [prio, key] : manAddr_) {
            out += separator + text(key) + ": " + Lldp::valueToStrep(prio);
            separator = ", ";
        }
        return out + "}";
    }
    return GenericIf::attributeStrRep(attribute);
}

void LldpSm::invoke(std::string_view operation, const std::vector<std::any>& args) {
    if (operation == "handleLocalPort") {
        const auto intfId = Zim::genericArgument<Ifkit::IntfId>(operation, args, 0);
        handleLocalPort(intfId, portArgument(operation, args));
        return;
    }
    if (operation == "handleLastChangeTime")
        return handleLastChangeTime();
    if (operation == "handleManagementAddressPrio") {
        return handleManagementAddressPrio(
            Zim::genericArgument<ManAddrPriority>(operation, args, 0));
    }
    GenericIf::invoke(operation, args);
}

// --- row operations ------------------------------------------------------------------------

void doAddLocalManagementAddress(LldpSm& lldpSm, const ManagementAddress::Key& key) {
    ZTRACE(trace(), 2, "Adding LocalManagementAddress with key " << text(key));
    JOTLOG("Adding LocalManagementAddress with key " << text(key));
    const auto& root = lldpSm.root();
    if (!root->localManagementAddress(key)) {
        // A row's value is fixed when it is made; later changes of the address do not rewrite it.
        const auto row = root->localManagementAddressIs(key);
        const auto system = lldpSm.localSystem();
        const ManagementAddress* value = system ? system->managementAddress().find(key) : nullptr;
        row->rawValueIs(value ? *value : ManagementAddress());
        row->portsTxEnableIs("portsTxEnable");
    }
    for (auto it = root->localPort().begin(); !it.atEnd(); ++it) {
        doAddLocalManagementAddressPort(lldpSm, key, it.key());
    }
}

void doRemoveLocalManagementAddress(LldpSm& lldpSm, const ManagementAddress::Key& key) {
    ZTRACE(trace(), 2, "Removing LocalManagementAddress with key " << text(key));
    JOTLOG("Removing LocalManagementAddress with key " << text(key));
    lldpSm.root()->localManagementAddressDel(key);
}

void doAddLocalManagementAddressPort(LldpSm& lldpSm, const ManagementAddress::Key& key,
                                     Interface::EthPortId port) {
    ZTRACE(trace(), 2,
           "Adding port " << text(port) << " to ManagementAddress with key " << text(key));
    JOTLOG("Adding port " << text(port) << " to ManagementAddress with key " << text(key));
    const auto row = lldpSm.root()->localManagementAddress(key);
    if (!row)
        return;
    // An address is sent on no port until the agent has given it a priority.
    if (lldpSm.manAddrPrio(key) == ManAddrPriority())
        return;
    // The port list is made with the row, but a row made by someone else may lack it.
    const auto ports =
        row->portsTxEnable() ? row->portsTxEnable() : row->portsTxEnableIs("portsTxEnable");
    ports->portIdIs(port);
}

void doRemoveLocalManagementAddressPort(LldpSm& lldpSm, const ManagementAddress::Key& key,
                                        Interface::EthPortId port) {
    ZTRACE(trace(), 2,
           "Removing port " << text(port) << " from ManagementAddress with key " << text(key));
    JOTLOG("Removing port " << text(port) << " from ManagementAddress with key " << text(key));
    const auto row = lldpSm.root()->localManagementAddress(key);
    if (!row || !row->portsTxEnable())
        return;
    if (lldpSm.manAddrPrio(key) == ManAddrPriority())
        return;
    row->portsTxEnable()->portIdDel(port.value());
}

} // namespace Lldp::Snmp
