#include "mib/TableParts.h"

#include <algorithm>
#include <iostream>

namespace LldpMibFrame {

void checkVlanId(uint32_t value) {
    if (value < 1 || value > 4094)
        Zim::throwRangeException("VlanId::value < 1 or > 4094 not allowed");
}

void checkVlanIdOrNone(uint32_t value) {
    if (value > 4094)
        Zim::throwRangeException("VlanIdOrNone::value > 4094 not allowed");
}

namespace {
// Index values as traces show them, formatted only when written.
struct PrintableBytes {
    const Zim::String8& bytes;
    friend std::ostream& operator<<(std::ostream& os, const PrintableBytes& p) {
        return os << Zim::printable(p.bytes);
    }
};
struct OuiText {
    const Lldp::Oui& oui;
    friend std::ostream& operator<<(std::ostream& os, const OuiText& o) {
        return os << Lldp::valueToStrep(o.oui);
    }
};
} // namespace

void IndexWriter::integer(const char* component, int32_t value) {
    if (!take(component, value))
        return;
    unsigned char buffer[1024];
    int n = Snmp::S32ToAsnIntegerF(value, buffer, sizeof buffer);
    snmp_set_var_typed_value(var_, ASN_INTEGER, buffer, static_cast<size_t>(n));
    var_ = var_->next_variable;
}

void IndexWriter::octets(const char* component, const Zim::String8& value, int capacity) {
    if (!take(component, PrintableBytes{value}))
        return;
    unsigned char buffer[1024];
    int n = Snmp::StringToAsnOctetStringF(value, buffer, capacity);
    snmp_set_var_typed_value(var_, ASN_OCTET_STR, buffer, static_cast<size_t>(n < 0 ? 0 : n));
    var_ = var_->next_variable;
}

void IndexWriter::oui(const char* component, const Lldp::Oui& value) {
    if (!take(component, OuiText{value}))
        return;
    unsigned char buffer[3];
    int n = OuiToAsnOctetString(value, buffer, sizeof buffer);
    snmp_set_var_typed_value(var_, ASN_PRIV_IMPLIED_OCTET_STR, buffer, static_cast<size_t>(n));
    var_ = var_->next_variable;
}

bool NotShownInstances::first(const std::string& column, const std::string& instance) {
    if (seen_.size() >= bound)
        seen_.clear();
    return seen_.insert(column + "." + instance).second;
}

void ColumnAnswer::traceGet(const char* column) {
    column_ = column;
    ZTRACE_FROM(module_.trace(), module_.name(), 2,
                table_ << "_handler: request GET for column " << column << ", key "
                       << keyText_(key_));
}

bool ColumnAnswer::finish(const char* attribute, const char* conversion, u_char type,
                          const unsigned char* buffer, int length, int minLength, int maxLength) {
    if (length < 0) {
        failure_ = std::string(conversion) + " failed";
        ZTRACE_FROM(module_.trace(), module_.name(), 2,
                    "handle_" << table_ << " - " << conversion << " failed for: " << attribute);
        return false;
    }
    if (minLength >= 0 && (length < minLength || length > maxLength)) {
        failure_ = std::to_string(length) + " bytes, the object allows " +
                   std::to_string(minLength) + " to " + std::to_string(maxLength);
        ZTRACE_FROM(module_.trace(), module_.name(), 2,
                    "handle_" << table_
                              << " - entity /<sysname>/snmp/lldp/root length out of range: "
                              << attribute << " (" << length << ")");
        return false;
    }
    snmp_set_var_typed_value(request_->requestvb, type, buffer, static_cast<size_t>(length));
    return true;
}

bool ColumnAnswer::integer(const char* column, const char* attribute, int32_t value) {
    return answer(column, attribute, "S32ToAsnInteger", ASN_INTEGER, 1024,
                  [&](unsigned char* b, int n) { return Snmp::S32ToAsnIntegerF(value, b, n); });
}

bool ColumnAnswer::truthValue(const char* column, const char* attribute, bool value) {
    return answer(column, attribute, "BoolToAsnInteger", ASN_INTEGER, 1024,
                  [&](unsigned char* b, int n) { return Snmp::BoolToAsnIntegerF(value, b, n); });
}

bool ColumnAnswer::counter32(const char* column, const char* attribute, uint32_t value) {
    return answer(column, attribute, "U32ToAsnUnsigned", ASN_COUNTER, 1024,
                  [&](unsigned char* b, int n) { return Snmp::U32ToAsnUnsignedF(value, b, n); });
}

bool ColumnAnswer::gauge32(const char* column, const char* attribute, uint32_t value) {
    return answer(column, attribute, "U32ToAsnUnsigned", ASN_GAUGE, 1024,
                  [&](unsigned char* b, int n) { return Snmp::U32ToAsnUnsignedF(value, b, n); });
}

bool ColumnAnswer::octets(const char* column, const char* attribute, const Zim::String8& value,
                          const char* boundType, size_t bound, int capacity, int minLength,
                          int maxLength) {
    traceGet(column);
    if (value.size() > bound) {
        failure_ = std::to_string(value.size()) + " bytes, the object allows at most " +
                   std::to_string(std::min<size_t>(bound, static_cast<size_t>(maxLength)));
        ZTRACE_FROM(module_.trace(), module_.name(), 2,
                    boundType << "::bytes > " << bound << " not allowed");
        return false;
    }
    unsigned char buffer[1024];
    return finish(attribute, "StringToAsnOctetString", ASN_OCTET_STR, buffer,
                  Snmp::StringToAsnOctetStringF(value, buffer, capacity), minLength, maxLength);
}

bool ColumnAnswer::objectId(const char* column, const char* attribute, const Zim::String8& dotted) {
    return answer(column, attribute, "StringToAsnOid", ASN_OBJECT_ID, 1024,
                  [&](unsigned char* b, int n) { return Snmp::StringToAsnOidF(dotted, b, n); });
}

Lldp::Snmp::Root* registeredRoot(const char* table) {
    static const char* const path = "snmp/lldp/root";
    auto entity = SnmpUtil::getEntityRelative(path);
    if (!entity) {
        std::cerr << "Can not getEntityRelative( " << path << " ) for table " << table
                  << ". Is this path correct?" << std::endl;
    }
    ZIM_ASSERT_NAMED(entity, "e");
    auto* root = dynamic_cast<Lldp::Snmp::Root*>(entity.get());
    if (!root)
        std::cerr << path << " does not appear to be of type Lldp::Snmp::Root." << std::endl;
    ZIM_ASSERT_NAMED(root, "ptr");
    return root;
}

} // namespace LldpMibFrame
