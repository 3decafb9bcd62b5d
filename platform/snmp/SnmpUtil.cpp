#include "platform/snmp/SnmpUtil.h"

namespace SnmpUtil {

namespace {
Zim::Ptr<Zim::Dir>& mount() {
    static Zim::Ptr<Zim::Dir> root;
    return root;
}
} // namespace

Zim::Ptr<Zim::Entity> getEntityRelative(const char* path) {
    if (!mount() || !path)
        return {};
    return mount()->lookup(path);
}

void stateStoreIs(Zim::Ptr<Zim::Dir> root) {
    mount() = std::move(root);
}

Zim::Ptr<Zim::Dir> stateStore() {
    return mount();
}

Zim::Ptr<Snmp::Config> getSnmpConfig() {
    return Zim::Entity::singletonIs<Snmp::Config>("Snmp::Config");
}

} // namespace SnmpUtil
