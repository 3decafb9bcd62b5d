#include "conv/MedConversions.h"

#include "platform/zim/Assert.h"
#include "platform/zim/Exception.h"

#include <bit>

namespace {

constexpr unsigned char reverse8(unsigned char b) noexcept {
    return static_cast<unsigned char>(((b * 0x0202020202ULL) & 0x010884422010ULL) % 1023);
}

const Lldp::RemoteSystem* agentOf(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    if (!it)
        return nullptr;
    const auto& row = it.value();
    return row ? row->ptr().get() : nullptr;
}

} // namespace

int MedCapabilitiesToAsnBits(const Lldp::MedCapabilities& caps, unsigned char* buf, int len) {
    if (len < 1)
        ZIM_ASSERT(false);
    buf[0] = reverse8(caps.value);
    return 1;
}

int PolicyAppTypeToAsnBits(const Lldp::PolicyAppType& type, unsigned char* buf, int len) {
    if (len < 2)
        ZIM_ASSERT(false);
    buf[0] = static_cast<unsigned char>(type.bits() >> 8);
    buf[1] = static_cast<unsigned char>(type.bits() & 0xff);
    return 2;
}

Lldp::PolicyAppType AsnOctetStringToPolicyAppType(const unsigned char* data, size_t len) {
    if (len != 2)
        Zim::throwRangeException("PolicyAppType index of " + std::to_string(len) +
                                 " octets, expected 2");
    const auto bits = static_cast<uint16_t>(data[0] << 8 | data[1]);
    // Bits past videoSignaling (8) are no application type.
    if (std::popcount(bits) != 1 || (bits & 0x007f) != 0)
        Zim::throwRangeException("PolicyAppType index must have exactly one of bits 0..8 set");
    return Lldp::PolicyAppType(static_cast<uint32_t>(std::countl_zero(bits)));
}

bool medCapabilitiesTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* r = agentOf(it);
    return r && r->medCapabilitiesTlvReceived();
}

bool medInventoryTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* r = agentOf(it);
    return r && r->medCapabilitiesTlvReceived() && r->medInventoryTlvReceived();
}

bool medPowerTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* r = agentOf(it);
    return r && r->medCapabilitiesTlvReceived() && r->medPowerTlvReceived();
}

bool medPsePowerTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* r = agentOf(it);
    return medPowerTlvReceived(it) && r->medPower().deviceType == Lldp::MedExtendedPower::pseDevice;
}

bool medPdPowerTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it) {
    const auto* r = agentOf(it);
    return medPowerTlvReceived(it) && r->medPower().deviceType == Lldp::MedExtendedPower::pdDevice;
}
