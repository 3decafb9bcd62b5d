#pragma once
// Definitions shared by the tables that list members of a local port (port number, member) or
// of a neighbour (time mark, port number, neighbour index, member): the key from an index hint
// and the index objects of the port or neighbour part.
#include "conv/MedConversions.h"
#include "mib/TableParts.h"
#include "model/SubKeys.h"

namespace LldpMibFrame {

// A member's own index component (component i) as its key field. The application type is the
// one OCTET STRING component: a BITS value naming exactly one type.
template <class Sub> Sub memberFromHint(const HintValues& v, size_t i) {
    if constexpr (std::is_same_v<Sub, int32_t>) {
        return static_cast<int32_t>(v[i]);
    } else if constexpr (std::is_same_v<Sub, Lldp::PolicyAppType>) {
        return AsnOctetStringToPolicyAppType(
            reinterpret_cast<const unsigned char*>(v.octets.view().data()), v.octets.size());
    } else {
        return Sub(static_cast<uint16_t>(v[i]));
    }
}

template <class Base, class K> struct LocalMemberTable : Base {
    using Key = K;
    static constexpr const char* keyTypeName = K::typeName;
    static Key keyFromHint(const HintValues& v) {
        return Key(portFromHint(v[0]), memberFromHint<typename K::SubType>(v, 1));
    }
    static void writePort(IndexWriter& w, const Key& key) {
        w.integer("portNum", key.ethPortId.value());
    }
};

template <class Base, class K> struct RemoteMemberTable : RemoteTable<Base> {
    using Key = K;
    static constexpr const char* keyTypeName = K::typeName;
    static Key keyFromHint(const HintValues& v) {
        return Key(portFromHint(v[1]), static_cast<int32_t>(v[2]),
                   memberFromHint<typename K::SubType>(v, 3));
    }
};

} // namespace LldpMibFrame
