#pragma once
// The MIBs' enumeration and bit names, as a state file may write them instead of numbers.
#include <cstdint>
#include <span>
#include <string_view>

namespace LldpSnmpd {

struct Name {
    std::string_view name;
    int32_t value;
};
using Names = std::span<const Name>;

inline constexpr Name chassisIdSubtypes[] = {
    {"chassisComponent", 1}, {"interfaceAlias", 2}, {"portComponent", 3}, {"macAddress", 4},
    {"networkAddress", 5},   {"interfaceName", 6},  {"local", 7}};
inline constexpr int32_t chassisIdMac = 4;

inline constexpr Name portIdSubtypes[] = {
    {"interfaceAlias", 1}, {"portComponent", 2},  {"macAddress", 3}, {"networkAddress", 4},
    {"interfaceName", 5},  {"agentCircuitId", 6}, {"local", 7}};
inline constexpr int32_t portIdMac = 3;

inline constexpr Name adminStatuses[] = {
    {"txOnly", 1}, {"rxOnly", 2}, {"txAndRx", 3}, {"disabled", 4}};

inline constexpr Name manAddrIfSubtypes[] = {
    {"unknown", 1}, {"ifIndex", 2}, {"systemPortNumber", 3}};

// IANA address family numbers.
inline constexpr Name addressFamilies[] = {{"other", 0},
                                           {"ipV4", 1},
                                           {"ipV6", 2},
                                           {"nsap", 3},
                                           {"hdlc", 4},
                                           {"bbn1822", 5},
                                           {"all802", 6},
                                           {"e163", 7},
                                           {"e164", 8},
                                           {"f69", 9},
                                           {"x121", 10},
                                           {"ipx", 11},
                                           {"appleTalk", 12},
                                           {"decnetIV", 13},
                                           {"banyanVines", 14},
                                           {"e164withNsap", 15},
                                           {"dns", 16},
                                           {"distinguishedName", 17},
                                           {"asNumber", 18},
                                           {"xtpOverIpv4", 19},
                                           {"xtpOverIpv6", 20},
                                           {"xtpNativeModeXTP", 21},
                                           {"fibreChannelWWPN", 22},
                                           {"fibreChannelWWNN", 23},
                                           {"gwid", 24},
                                           {"afi", 25},
                                           {"mplsTpSectionEndpointIdentifier", 26},
                                           {"mplsTpLspEndpointIdentifier", 27},
                                           {"mplsTpPseudowireEndpointIdentifier", 28},
                                           {"eigrpCommonServiceFamily", 16384},
                                           {"eigrpIpv4ServiceFamily", 16385},
                                           {"eigrpIpv6ServiceFamily", 16386},
                                           {"lispCanonicalAddressFormat", 16387},
                                           {"bgpLs", 16388},
                                           {"fortyeightBitMacBitMac", 16389},
                                           {"sixtyfourBitMac", 16390},
                                           {"oui", 16391},
                                           {"mac24", 16392},
                                           {"mac40", 16393},
                                           {"ipv664", 16394},
                                           {"rBridgePortID", 16395},
                                           {"trillNickname", 16396},
                                           {"reserved", 65535}};
inline constexpr int32_t familyIpV4 = 1;
inline constexpr int32_t familyIpV6 = 2;

inline constexpr Name systemCapabilities[] = {{"other", 0},
                                              {"repeater", 1},
                                              {"bridge", 2},
                                              {"wlanAccessPoint", 3},
                                              {"router", 4},
                                              {"telephone", 5},
                                              {"docsisCableDevice", 6},
                                              {"stationOnly", 7}};

inline constexpr Name tlvsTxEnable[] = {
    {"portDesc", 0}, {"sysName", 1}, {"sysDesc", 2}, {"sysCap", 3}};

inline constexpr Name dot3TlvsTxEnable[] = {
    {"macPhyConfigStatus", 0}, {"powerViaMDI", 1}, {"linkAggregation", 2}, {"maxFrameSize", 3}};

// The MIB's names, and the short forms operators write.
inline constexpr Name linkAggStatuses[] = {
    {"aggCapable", 0}, {"aggEnabled", 1}, {"capable", 0}, {"enabled", 1}};

inline constexpr Name powerPortClasses[] = {{"pClassPSE", 1}, {"pClassPD", 2}};
inline constexpr Name powerPairs[] = {{"signal", 1}, {"spare", 2}};
inline constexpr Name powerClasses[] = {
    {"class0", 1}, {"class1", 2}, {"class2", 3}, {"class3", 4}, {"class4", 5}};

} // namespace LldpSnmpd
