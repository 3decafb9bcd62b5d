#include "host/LldpService.h"

#include "host/Log.h"

#include "conv/SnmpConversions.h"
#include "mib/LldpMIB.h"
#include "mib/LldpXdot1MIB.h"
#include "mib/LldpXdot3MIB.h"
#include "mib/LldpXMedMIB.h"
#include "model/LldpSnmpTrace.h"
#include "platform/snmp/HandlerRegistration.h"
#include "platform/snmp/TrapManager.h"
#include "platform/zim/TypeRegistry.h"

#include <string_view>

namespace LldpSnmpd {

namespace {

// The types the plug-in announced when it was loaded, for the trace of what this host serves.
std::string loadedTypes() {
    std::string list;
    for (const auto& type : Zim::typeNodes())
        list += (list.empty() ? "" : ", ") + type;
    return list;
}

struct ModuleUnregister {
    std::string_view module;
    void (*unregister)(Zim::String8 context);
};

constexpr ModuleUnregister moduleUnregisters[] = {
    {"LldpMIB", unregister_LldpMIB},
    {"LldpXdot1MIB", unregister_LldpXdot1MIB},
    {"LldpXdot3MIB", unregister_LldpXdot3MIB},
    {"LldpXMedMIB", unregister_LldpXMedMIB},
};

// Every module in every context it was initialised in; the set shrinks as they go.
void unregisterModules() {
    const auto served = Snmp::mibContexts();
    for (const auto& [context, module] : served) {
        bool known = false;
        for (const auto& m : moduleUnregisters) {
            if (m.module != module.view()) {
                continue;
            }
            m.unregister(context);
            known = true;
        }
        if (!known) {
            logWarning("no way to unregister module " + module.str());
        }
    }
}

} // namespace

void sendQueuedNotifications() {
    Snmp::TrapManager::instance()->flush();
}

LldpService::LldpService(std::string stateFile) : applier_(store_) {
    installPlatformLog();
    stateFile_.emplace(std::move(stateFile), applier_);
}

LldpService::LldpService(const Lldpd& lldpd)
    : applier_(store_), portNumbers_(std::make_unique<PortNumbers>(lldpd.portNumbersFile)),
      lldpd_(std::make_unique<LldpdSource>(lldpd.socket, *portNumbers_)) {
    installPlatformLog();
}

LldpService::~LldpService() {
    stop();
}

bool LldpService::start() {
    if (lldpd_) {
        lldpd_->start(applier_);
    } else {
        if (!stateFile_->load()) {
            return false;
        }
        stateFile_->watch();
    }

    // The mirror follows the agent's entities from here on; the interfaces applied so far are
    // handed to it in port order.
    glue_ = std::make_unique<LldpGlue>(store_);
    ZTRACE(Lldp::Snmp::lldpSnmpTraceHandle(), 1, "loaded types: " << loadedTypes());
    for (const auto& e : applier_.interfacesByPort()) {
        glue_->interfaceIs(e.name, e.port, e.portConfig, e.portStatus, e.localPort);
    }
    applier_.glueIs(glue_.get());

    for (auto* registration : Snmp::handlerRegistrations()) {
        registration->initHandler("");
    }
    return true;
}

void LldpService::stop() {
    if (!glue_) {
        return;
    }
    unregisterModules();
    sendQueuedNotifications();
    lldpd_.reset();
    applier_.glueIs(nullptr);
    glue_.reset();
    lldpRootDel();
}

void LldpService::onReadable() {
    if (stateFile_) {
        stateFile_->onReadable();
    }
    sendQueuedNotifications();
}

void LldpService::reload() {
    if (stateFile_) {
        stateFile_->reload();
    } else if (lldpd_) {
        lldpd_->refresh();
    }
    sendQueuedNotifications();
}

} // namespace LldpSnmpd
