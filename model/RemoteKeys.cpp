#include "model/RemoteKeys.h"

#include "platform/zim/Generic.h"

#include <array>
#include <utility>

namespace Lldp::Snmp {

namespace {

using Field = std::pair<const char*, std::string>;

// The one place that knows the "Value('type', ** {'field': text, ...})" layout, so the textual
// form and the attribute lookup by name can never disagree about a field's text.
template <size_t N>
std::string valueText(const char* typeName, const std::array<Field, N>& fields) {
    std::string text = std::string("Value('") + typeName + "', ** {";
    const char* separator = "";
    for (const auto& [name, value] : fields) {
        text += separator;
        text += "'";
        text += name;
        text += "': ";
        text += value;
        separator = ", ";
    }
    return text + "})";
}

template <size_t N>
std::string fieldText(const std::array<Field, N>& fields, std::string_view attribute) {
    for (const auto& [name, value] : fields) {
        if (attribute == name)
            return value;
    }
    Zim::throwBadGenericCall("no attribute", attribute);
}

// Shared leading fields of every remote key.
template <class Key> std::array<Field, 2> leadingFields(const Key& key) {
    return {{{"ethPortId", Interface::valueToStrep(key.ethPortId)},
             {"index", std::to_string(key.index)}}};
}

template <class... Extra>
std::array<Field, 2 + sizeof...(Extra)> withLeading(std::array<Field, 2> leading, Extra... extra) {
    return {{std::move(leading[0]), std::move(leading[1]), std::move(extra)...}};
}

std::array<Field, 2> fields(const RemoteSystemKey& key) {
    return leadingFields(key);
}

std::array<Field, 3> fields(const RemoteManagementAddressKey& key) {
    return withLeading(leadingFields(key), Field{"manAddrKey", Lldp::valueToStrep(key.manAddrKey)});
}

std::array<Field, 3> fields(const RemoteUnknownTlvKey& key) {
    return withLeading(leadingFields(key), Field{"type", std::to_string(key.type)});
}

std::array<Field, 5> fields(const RemoteUnknownOrgDefTlvKey& key) {
    return withLeading(leadingFields(key), Field{"oui", Lldp::valueToStrep(key.oui)},
                       Field{"subtype", std::to_string(key.subtype)},
                       Field{"unknownOrgDefTlvIndex", std::to_string(key.unknownOrgDefTlvIndex)});
}

std::array<Field, 3> fields(const RemotePortAndProtocolVlanKey& key) {
    return withLeading(
        leadingFields(key),
        Field{"portAndProtocolVlanId", Bridging::valueToStrep(key.portAndProtocolVlanId)});
}

std::array<Field, 3> fields(const RemoteVlanNameKey& key) {
    return withLeading(leadingFields(key), Field{"vlanId", Bridging::valueToStrep(key.vlanId)});
}

std::array<Field, 3> fields(const RemoteProtocolIdentityInfoKey& key) {
    return withLeading(leadingFields(key),
                       Field{"protocolIndex", std::to_string(key.protocolIndex)});
}

} // namespace

std::string valueToStrep(const RemoteSystemKey& key) {
    return valueText(RemoteSystemKey::typeName, fields(key));
}
std::string valueToStrep(const RemoteManagementAddressKey& key) {
    return valueText(RemoteManagementAddressKey::typeName, fields(key));
}
std::string valueToStrep(const RemoteUnknownTlvKey& key) {
    return valueText(RemoteUnknownTlvKey::typeName, fields(key));
}
std::string valueToStrep(const RemoteUnknownOrgDefTlvKey& key) {
    return valueText(RemoteUnknownOrgDefTlvKey::typeName, fields(key));
}
std::string valueToStrep(const RemotePortAndProtocolVlanKey& key) {
    return valueText(RemotePortAndProtocolVlanKey::typeName, fields(key));
}
std::string valueToStrep(const RemoteVlanNameKey& key) {
    return valueText(RemoteVlanNameKey::typeName, fields(key));
}
std::string valueToStrep(const RemoteProtocolIdentityInfoKey& key) {
    return valueText(RemoteProtocolIdentityInfoKey::typeName, fields(key));
}

std::string attributeStrRep(const RemoteSystemKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}
std::string attributeStrRep(const RemoteManagementAddressKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}
std::string attributeStrRep(const RemoteUnknownTlvKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}
std::string attributeStrRep(const RemoteUnknownOrgDefTlvKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}
std::string attributeStrRep(const RemotePortAndProtocolVlanKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}
std::string attributeStrRep(const RemoteVlanNameKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}
std::string attributeStrRep(const RemoteProtocolIdentityInfoKey& key, std::string_view attribute) {
    return fieldText(fields(key), attribute);
}

} // namespace Lldp::Snmp
