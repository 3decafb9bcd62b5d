#include "conv/SnmpConversions.h"

#include "platform/lldp/PortTypes.h"
#include "platform/zim/Assert.h"

namespace {

// Constant-initialised, so it is null before any other static runs and is released at unload.
Lldp::Snmp::Root::PtrConst root_;

// Bit order within an octet reversed without branches: the multiply fans the octet out into
// five copies, the mask keeps each bit at its mirrored place in a 10-bit group, and the
// remainder by 2^10 - 1 adds the groups together.
constexpr unsigned char reverse8(unsigned char b) noexcept {
    return static_cast<unsigned char>(((b * 0x0202020202ULL) & 0x010884422010ULL) % 1023);
}

// Whether management addresses are sent on a port. A port the root has no configuration row
// for is sent on, and so is one beyond the range of port configuration rows (it cannot have
// one).
struct PortsTxEnableFunctor {
    bool operator()(unsigned short port) const {
        ZIM_ASSERT_NAMED(root_, "root_");
        if (port > Interface::EthPortId::max)
            return true;
        const auto row = root_->portConfig(Interface::EthPortId(port));
        if (!row)
            return true;
        const auto& config = row->ptr();
        return config && config->manAddrTxEnable();
    }
};

const Lldp::RemoteSystem*
agentRemoteSystem(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    if (!it)
        return nullptr;
    const auto& row = it.value();
    return row ? row->ptr().get() : nullptr;
}

} // namespace

void lldpRootIs(Lldp::Snmp::Root::PtrConst root) {
    ZIM_ASSERT_NAMED(!root_, "!root_");
    root_ = std::move(root);
}

const Lldp::Snmp::Root::PtrConst& lldpRoot() {
    return root_;
}

void lldpRootDel() {
    root_ = nullptr;
}

void lldpRootResetForTesting() {
    root_ = nullptr;
}

int SystemCapabilitiesMapToAsnBits(const Lldp::SystemCapabilitiesMap& map, unsigned char* buf,
                                   int len) {
    if (len < 2)
        ZIM_ASSERT(false);
    buf[0] = reverse8(static_cast<unsigned char>(map.value & 0xff));
    buf[1] = reverse8(static_cast<unsigned char>((map.value >> 8) & 0xff));
    return 2;
}

int EnabledTlvsToAsnBits(const Lldp::PortConfig::EnabledTlvs& tlvs, unsigned char* buf, int len) {
    if (len < 1)
        ZIM_ASSERT(false);
    buf[0] = reverse8(tlvs.value);
    return 1;
}

int OuiToAsnOctetString(const Lldp::Oui& oui, unsigned char* buf, int len) {
    if (len < 3)
        ZIM_ASSERT(false);
    buf[0] = static_cast<unsigned char>((oui.value() >> 16) & 0xff);
    buf[1] = static_cast<unsigned char>((oui.value() >> 8) & 0xff);
    buf[2] = static_cast<unsigned char>(oui.value() & 0xff);
    return 3;
}

int Dot3EnabledTlvsToAsnBits(const Lldp::PortConfig::Dot3EnabledTlvs& tlvs, unsigned char* buf,
                             int len) {
    if (len < 1)
        ZIM_ASSERT(false);
    buf[0] = reverse8(tlvs.value);
    return 1;
}

int LinkAggStatusMapToAsnBits(const Lldp::LinkAggStatusMap& map, unsigned char* buf, int len) {
    if (len < 1)
        ZIM_ASSERT(false);
    buf[0] = reverse8(map.value);
    return 1;
}

int AutoNegAdvertisedCapAsU16ToAsnBits(const unsigned short& value, unsigned char* buf, int len) {
    if (len < 2)
        return 0;
    buf[0] = static_cast<unsigned char>(value >> 8);
    buf[1] = static_cast<unsigned char>(value & 0xff);
    return 2;
}

int PortsTxEnableToAsnOctetString(Zim::Ptr<const Lldp::Snmp::PortList> ports, unsigned char* buf,
                                  int len) {
    if (!ports)
        return 0;
    const PortsTxEnableFunctor txEnabled;
    int size = 0;
    for (const auto& [port, id] : ports->portId()) {
        // Computed in 16 bits so that port 0 wraps to a bit past the last one and is skipped.
        const auto bit = static_cast<unsigned short>(port - 1);
        if (!txEnabled(port) || bit > 4094)
            continue;
        const int byte = bit / 8;
        const int newSize = byte + 1;
        if (size < newSize) {
            ZIM_ASSERT(newSize <= len);
            // Only the octets the result grows by are cleared: the rest of the caller's
            // buffer is none of our business.
            for (int i = size; i < newSize; ++i)
                buf[i] = 0;
            size = newSize;
        }
        buf[byte] |= static_cast<unsigned char>(0x80u >> (bit % 8));
    }
    return size;
}

Lldp::Oui AsnOctetStringToOui(void* data, U32 len) {
    ZIM_ASSERT(len == 3);
    const auto* octets = static_cast<const unsigned char*>(data);
    return Lldp::Oui(static_cast<uint32_t>(octets[0]) << 16 |
                     static_cast<uint32_t>(octets[1]) << 8 | octets[2]);
}

bool portVlanIdTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* remote = agentRemoteSystem(it);
    return remote && remote->portVlanIdTlvReceived();
}

bool macPhyConfigStatusTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* remote = agentRemoteSystem(it);
    return remote && remote->macPhyConfigStatusTlvReceived();
}

bool powerViaMdiTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* remote = agentRemoteSystem(it);
    return remote && remote->powerViaMdiTlvReceived();
}

bool linkAggregationTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* remote = agentRemoteSystem(it);
    return remote && remote->linkAggregationTlvReceived();
}

bool maximumFrameSizeTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* remote = agentRemoteSystem(it);
    return remote && remote->maximumFrameSizeTlvReceived();
}
