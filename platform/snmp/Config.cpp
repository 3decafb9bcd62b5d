#include "platform/snmp/Config.h"

namespace Snmp {

// Entries that outlive their group or configuration must not keep pointing at it.
NotificationGroup::~NotificationGroup() {
    for (auto& [name, notification] : notifications_)
        notification->parentIs(nullptr);
}

Config::~Config() {
    for (auto& [name, group] : groups_)
        group->parentIs(nullptr);
}

Zim::Ptr<Notification> NotificationGroup::notification(const Zim::String8& name) const {
    auto it = notifications_.find(name);
    return it == notifications_.end() ? Zim::Ptr<Notification>() : it->second;
}

Zim::Ptr<Notification> NotificationGroup::notificationIs(const Zim::String8& name) {
    auto& slot = notifications_[name];
    if (!slot) {
        slot = Zim::makePtr<Notification>(name);
        slot->parentIs(this);
    }
    return slot;
}

Zim::Ptr<NotificationGroup> Config::notificationConfig(const Zim::String8& group) const {
    auto it = groups_.find(group);
    return it == groups_.end() ? Zim::Ptr<NotificationGroup>() : it->second;
}

Zim::Ptr<NotificationGroup> Config::notificationConfigIs(const Zim::String8& group) {
    auto& slot = groups_[group];
    if (!slot) {
        slot = Zim::makePtr<NotificationGroup>(group);
        slot->parentIs(this);
    }
    return slot;
}

NotificationStatus Config::notificationStatus(const Zim::String8& group,
                                              const Zim::String8& notification) const {
    auto g = notificationConfig(group);
    if (!g)
        return {false, "notification group " + group.str() + " is not configured"};
    auto n = g->notification(notification);
    if (!n) {
        return {false, "notification " + notification.str() + " is not configured in group " +
                           group.str()};
    }
    if (!n->enabled())
        return {false, n->disabledReason()};
    return {true, {}};
}

} // namespace Snmp
