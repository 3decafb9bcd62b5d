#include "model/Rows.h"

namespace Lldp::Snmp {

LocalManagementAddress::~LocalManagementAddress() {
    // Someone may still hold the list (a conversion in progress); it must not point back here.
    portsTxEnableDel();
}

Zim::Ptr<PortList> LocalManagementAddress::newPortsTxEnable(const Zim::String8& name) {
    portsTxEnableDel();
    portsTxEnable_ = Zim::makePtr<PortList>(name);
    portsTxEnable_->parentIs(this);
    return portsTxEnable_;
}

Zim::Ptr<PortList> LocalManagementAddress::portsTxEnableIs(const Zim::String8& name) {
    if (portsTxEnable_ && portsTxEnable_->name() == name)
        return portsTxEnable_;
    return newPortsTxEnable(name);
}

void LocalManagementAddress::portsTxEnableDel() {
    if (!portsTxEnable_)
        return;
    portsTxEnable_->parentIs(nullptr);
    portsTxEnable_ = nullptr;
}

} // namespace Lldp::Snmp
