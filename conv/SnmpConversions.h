#pragma once
// LLDP values in the encodings the MIB objects carry: bit sets as SNMP BITS, the OUI as a
// three-octet string, a management address's transmit ports as an SNMP port list, and whether
// a neighbour sent each of the IEEE 802.3 extension TLVs.
//
// Every conversion to an SNMP encoding takes (value, buffer, buffer length), writes from the
// start of the buffer and returns the bytes written. Callers pass 1024-byte buffers, so a
// buffer too short for a fixed-size encoding is a programming error and stops the process.
//
// BITS numbering: member k of an agent bit set (value 1 << k) is BITS bit k, which is bit
// 7 - (k % 8) of octet k / 8.
#include "model/Root.h"
#include "platform/lldp/Config.h"
#include "platform/lldp/Values.h"
#include "platform/zim/Ptr.h"

#include <cstdint>

typedef uint32_t U32;

// The mirror root that the port-list conversion consults. Set once in the life of the
// process (a second call stops it); released when the library is unloaded.
void lldpRootIs(Lldp::Snmp::Root::PtrConst root);
const Lldp::Snmp::Root::PtrConst& lldpRoot();
// Withdraws the root when its host stops serving: a plug-in that the system snmpd unloads stays
// mapped, and publishes a new root when it is loaded again.
void lldpRootDel();
// Forgets the root so that each unit test can publish its own; nothing else may call it.
void lldpRootResetForTesting();

// Two octets: capabilities 0..7, then 8..15.
int SystemCapabilitiesMapToAsnBits(const Lldp::SystemCapabilitiesMap& map, unsigned char* buf,
                                   int len);
// One octet each.
int EnabledTlvsToAsnBits(const Lldp::PortConfig::EnabledTlvs& tlvs, unsigned char* buf, int len);
int Dot3EnabledTlvsToAsnBits(const Lldp::PortConfig::Dot3EnabledTlvs& tlvs, unsigned char* buf,
                             int len);
int LinkAggStatusMapToAsnBits(const Lldp::LinkAggStatusMap& map, unsigned char* buf, int len);
// The value is already in BITS order (bit 0 is 0x8000), so only its two octets are written,
// high first. A buffer shorter than two octets yields 0 instead of stopping the process.
int AutoNegAdvertisedCapAsU16ToAsnBits(const unsigned short& value, unsigned char* buf, int len);

// Network order, three octets.
int OuiToAsnOctetString(const Lldp::Oui& oui, unsigned char* buf, int len);
// The data must be exactly three octets.
Lldp::Oui AsnOctetStringToOui(void* data, U32 len);

// Port P is bit P - 1 (port 1 is 0x80 of the first octet). The result is as long as the
// highest port sent needs, 0 for an empty or absent list; octets past it are left untouched.
// A port is sent unless its port configuration says management addresses are not sent on it.
// Needs the root published with lldpRootIs as soon as the list holds a port.
int PortsTxEnableToAsnOctetString(Zim::Ptr<const Lldp::Snmp::PortList> ports, unsigned char* buf,
                                  int len);

// Whether the neighbour at the iterator sent the TLV; false at the end of the collection and
// for a row that refers to no agent entity.
bool portVlanIdTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool macPhyConfigStatusTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool powerViaMdiTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool linkAggregationTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool maximumFrameSizeTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
