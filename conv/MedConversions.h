#pragma once
// LLDP-MED values in the encodings the MIB objects carry, and whether a neighbour sent each
// kind of MED TLV. Same shape as the other conversions: (value, buffer, length) in, bytes
// written out; a buffer too short for a fixed-size encoding stops the process.
#include "model/Root.h"
#include "platform/lldp/Values.h"

#include <cstdint>

// LldpXMedCapabilities: one octet, member k is BITS bit k.
int MedCapabilitiesToAsnBits(const Lldp::MedCapabilities& caps, unsigned char* buf, int len);
// PolicyAppType: always two octets (nine named bits), the one bit of the type set.
int PolicyAppTypeToAsnBits(const Lldp::PolicyAppType& type, unsigned char* buf, int len);
// The application type an index names: exactly two octets with exactly one named bit set;
// anything else throws the range exception.
Lldp::PolicyAppType AsnOctetStringToPolicyAppType(const unsigned char* data, size_t len);

// Whether the neighbour at the iterator sent the MED TLV; false at the end of the collection
// and for a row that refers to no agent entity. The extended-power tables split by the device
// type the neighbour announced.
bool medCapabilitiesTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool medInventoryTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool medPowerTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool medPsePowerTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
bool medPdPowerTlvReceived(const Lldp::Snmp::Root::RemoteSystemMap::ConstIterator& it);
