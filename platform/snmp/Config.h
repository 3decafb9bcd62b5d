#pragma once
// The host's SNMP notification configuration: groups of named notifications, each switched on
// or off (with the reason it is off, for the trace).
#include "platform/zim/Entity.h"
#include "platform/zim/String8.h"

#include <map>

namespace Snmp {

class Notification : public Zim::Entity {
public:
    explicit Notification(Zim::String8 name) : Entity(std::move(name)) {}
    const char* typeName() const noexcept override { return "Snmp::Notification"; }
    bool enabled() const noexcept { return enabled_; }
    const Zim::String8& disabledReason() const noexcept { return disabledReason_; }
    void enabledIs(bool enabled, Zim::String8 reason = {}) {
        enabled_ = enabled;
        disabledReason_ = enabled ? Zim::String8() : std::move(reason);
    }

private:
    bool enabled_ = true;
    Zim::String8 disabledReason_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~Notification() override = default;
};

class NotificationGroup : public Zim::Entity {
public:
    explicit NotificationGroup(Zim::String8 name) : Entity(std::move(name)) {}
    NotificationGroup(const NotificationGroup&) = delete;
    NotificationGroup& operator=(const NotificationGroup&) = delete;
    const char* typeName() const noexcept override { return "Snmp::NotificationGroup"; }
    Zim::Ptr<Notification> notification(const Zim::String8& name) const;
    Zim::Ptr<Notification> notificationIs(const Zim::String8& name);
    const std::map<Zim::String8, Zim::Ptr<Notification>>& notifications() const noexcept {
        return notifications_;
    }

private:
    std::map<Zim::String8, Zim::Ptr<Notification>> notifications_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~NotificationGroup() override;
};

struct NotificationStatus {
    bool send = false;
    Zim::String8 reason; // why not, when send is false
};

class Config : public Zim::Entity {
public:
    Config() : Entity("config") {}
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;
    const char* typeName() const noexcept override { return "Snmp::Config"; }

    Zim::Ptr<NotificationGroup> notificationConfig(const Zim::String8& group) const;
    Zim::Ptr<NotificationGroup> notificationConfigIs(const Zim::String8& group);
    NotificationStatus notificationStatus(const Zim::String8& group,
                                          const Zim::String8& notification) const;

private:
    std::map<Zim::String8, Zim::Ptr<NotificationGroup>> groups_;

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~Config() override;
};

} // namespace Snmp
