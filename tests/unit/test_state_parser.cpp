// The state file's value readers and refusals, read directly: what each accepts, what it
// refuses, and that every refusal names the JSON path of the offending value.
#include "state/StateParser.h"
#include "state/ValueReaders.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace LldpSnmpd;
using namespace std::string_literals;

Json parse(const char* text) {
    return Json::parse(text);
}

// The refusal that reading throws: "path: reason".
template <class F> std::string refusal(F&& read) {
    try {
        read();
    } catch (const StateError& e) {
        return e.path() + ": " + e.reason();
    }
    return "accepted";
}

#define EXPECT_REFUSED(expr, text) EXPECT_EQ(refusal([&] { (void)(expr); }), (text))

TEST(StateValueReaders, IntegersAreWholeJsonNumbersWithinTheirType) {
    EXPECT_EQ(readInt32(parse("-2147483648"), "$.a"), INT32_MIN);
    EXPECT_EQ(readUint32(parse("4294967295"), "$.a"), UINT32_MAX);
    EXPECT_EQ(readIndex(parse("2147483647"), "$.a"), INT32_MAX);
    EXPECT_REFUSED(readInt32(parse("2147483648"), "$.a"),
                   "$.a: 2147483648 is out of range (-2147483648..2147483647)");
    EXPECT_REFUSED(readUint32(parse("-1"), "$.b"), "$.b: -1 is out of range (0..4294967295)");
    EXPECT_REFUSED(readIndex(parse("0"), "$.c"), "$.c: 0 is out of range (1..2147483647)");
    EXPECT_REFUSED(readInt32(parse("30.0"), "$.d"), "$.d: expected an integer, found 30.0");
    EXPECT_REFUSED(readInt32(parse("\"30\""), "$.e"),
                   "$.e: expected an integer, found the string \"30\"");
    EXPECT_REFUSED(readInteger(parse("18446744073709551615"), "$.f", 0, 10),
                   "$.f: 18446744073709551615 is out of range (0..10)");
}

TEST(StateValueReaders, EnumerationsTakeTheMibNameOrAnyNumber) {
    EXPECT_EQ(readEnum(parse("\"txAndRx\""), "$", adminStatuses), 3);
    EXPECT_EQ(readEnum(parse("4"), "$", adminStatuses), 4);
    EXPECT_EQ(readEnum(parse("99"), "$", adminStatuses), 99);
    EXPECT_REFUSED(readEnum(parse("\"both\""), "$.x", adminStatuses),
                   "$.x: unknown name \"both\"; expected one of: txOnly, rxOnly, txAndRx, "
                   "disabled (or a number)");
    EXPECT_REFUSED(readEnum(parse("true"), "$.x", powerPairs),
                   "$.x: expected a name (signal, spare) or a number, found true");
}

TEST(StateValueReaders, BitSetsCombineNamesAndNumbersAndNameTheBadElement) {
    EXPECT_EQ(readBits(parse("[\"bridge\", 4]"), "$", systemCapabilities, 16), (1u << 2) | 16u);
    EXPECT_EQ(readBits(parse("[]"), "$", systemCapabilities, 16), 0u);
    EXPECT_EQ(readBits(parse("[\"capable\", \"aggEnabled\"]"), "$", linkAggStatuses, 8), 3u);
    EXPECT_REFUSED(readBits(parse("[1, 4]"), "$.t", tlvsTxEnable, 4),
                   "$.t[1]: 4 is out of range (0..3)");
    EXPECT_REFUSED(readBits(parse("[\"switch\"]"), "$.c", systemCapabilities, 16),
                   "$.c[0]: unknown bit name \"switch\"; expected one of: other, repeater, "
                   "bridge, wlanAccessPoint, router, telephone, docsisCableDevice, stationOnly "
                   "(or a bit number)");
    EXPECT_REFUSED(readBits(parse("\"bridge\""), "$.c", systemCapabilities, 16),
                   "$.c: expected an array, found the string \"bridge\"");
}

TEST(StateValueReaders, OctetsAreTextHexMacOrAddressText) {
    EXPECT_EQ(readOctets(parse("\"ab\""), "$").str(), "ab");
    EXPECT_EQ(readOctets(parse("{\"hex\": \"00ff\"}"), "$").str(), std::string("\x00\xff", 2));
    EXPECT_EQ(readMac(parse("\"02-00-00-0a-0B-0c\""), "$").str(), "\x02\0\0\x0a\x0b\x0c"s);
    EXPECT_EQ(readIdOctets(parse("\"02:00\""), "$", false).str(), "02:00");
    EXPECT_EQ(readAddress(parse("\"192.0.2.1\""), "$", familyIpV4).str(), "\xc0\0\x02\x01"s);
    EXPECT_EQ(readAddress(parse("\"2001:db8::1\""), "$", familyIpV6).size(), 16u);
    EXPECT_EQ(readAddress(parse("\"192.0.2.1\""), "$", 6).str(), "192.0.2.1");

    EXPECT_REFUSED(readOctets(parse("{\"hex\": \"abc\"}"), "$.o"),
                   "$.o.hex: \"abc\" has an odd number of hex digits (two per byte)");
    EXPECT_REFUSED(readOctets(parse("{\"hex\": \"0g\"}"), "$.o"),
                   "$.o.hex: not a hex string: \"0g\"");
    EXPECT_REFUSED(readOctets(parse("{\"hex\": \"00\", \"x\": 1}"), "$.o"),
                   "$.o.x: unknown key; expected one of: hex");
    EXPECT_REFUSED(readOctets(parse("7"), "$.o"),
                   "$.o: expected a string or {\"hex\": \"...\"}, found 7");
    EXPECT_EQ(refusal([] {
                  readMac(parse("\"02:00:00:00:00\""), "$.m");
              }).rfind("$.m: expected a MAC address such as", 0),
              0u);
    EXPECT_REFUSED(readAddress(parse("\"192.0.2.300\""), "$.a", familyIpV4),
                   "$.a: expected an IPv4 address such as \"192.0.2.1\", found the string "
                   "\"192.0.2.300\"");
}

TEST(StateValueReaders, OidsAreTwoTo128DottedSubIdentifiersOf32Bits) {
    EXPECT_EQ(readOid(parse("\"1.3.6.1.2.1.2.2.1.1\""), "$").str(), "1.3.6.1.2.1.2.2.1.1");
    EXPECT_EQ(readOid(parse("\".0.0\""), "$").str(), ".0.0");
    EXPECT_EQ(readOid(parse("\"1.3.4294967295\""), "$").str(), "1.3.4294967295");
    std::string longest = "1";
    for (int i = 1; i < 128; ++i) {
        longest += ".1";
    }
    EXPECT_EQ(readOid(Json(longest), "$").str(), longest);
    for (const std::string& bad : std::vector<std::string>{
             "1", "1..3", "1.3.", "1.3.x", "1.3.4294967296", longest + ".1", "x", ",.40", "."}) {
        EXPECT_EQ(refusal([&] {
                      readOid(Json(bad), "$.oid");
                  }).rfind("$.oid: expected an OID of 2 to 128 dotted numbers", 0),
                  0u)
            << bad;
    }
}

TEST(StateValueReaders, OuisAreThreeBytesInAnyOfTheirForms) {
    for (const char* text : {"\"00-12-bb\"", "\"00:12:BB\"", "{\"hex\": \"0012bb\"}", "4795"}) {
        EXPECT_EQ(readOui(parse(text), "$").value(), 0x0012bbu) << text;
    }
    EXPECT_REFUSED(readOui(parse("\"0012bb\""), "$.oui"),
                   "$.oui: expected an OUI such as \"00-12-bb\", found the string \"0012bb\"");
    EXPECT_REFUSED(readOui(parse("\"00-12:bb\""), "$.oui"),
                   "$.oui: expected an OUI such as \"00-12-bb\", found the string \"00-12:bb\"");
    EXPECT_REFUSED(readOui(parse("{\"hex\": \"0012\"}"), "$.oui"),
                   "$.oui: {\"hex\": \"0012\"} has 2 bytes; an OUI has 3");
    EXPECT_REFUSED(readOui(parse("16777216"), "$.oui"),
                   "$.oui: 16777216 is out of range (0..16777215)");
}

// Every bounded value one past its bound, every list whose elements must differ, values of the
// wrong kind for their key or the keys around them, missing and repeated keys: the refusal
// names the JSON path of the key (never only its list element), shows the value and says what
// is allowed.
TEST(StateDocumentRefusals, NameTheKeyTheValueAndWhatIsAllowed) {
    const std::string local = R"("localSystem": {"chassisIdSubtype": 7, "chassisId": "x")";
    auto withNeighbour = [&](const std::string& fields) {
        return "{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 1, "neighbors": [
            {"index": 1, "chassisIdSubtype": 7, "chassisId": "c", "portIdSubtype": 7,
             "portId": "p", )" +
               fields + "}]}]}";
    };
    auto withPort = [&](const std::string& local_) {
        return "{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 1, "local": {)" +
               local_ + "}}]}";
    };
    auto withLocalSystem = [&](const std::string& fields) {
        return "{" + local + ", " + fields + "}}";
    };
    const std::string n = "$.interfaces[0].neighbors[0]";
    const std::string l = "$.interfaces[0].local";
    const std::string a512(512, 'a');
    const struct {
        std::string document;
        std::string refusal;
    } cases[] = {
        {withNeighbour(R"("unknownTlvs": [{"type": 8, "info": "i"}])"),
         n + ".unknownTlvs[0].type: 8 is out of range (9..126)"},
        {withNeighbour(R"("unknownTlvs": [{"type": 127, "info": "i"}])"),
         n + ".unknownTlvs[0].type: 127 is out of range (9..126)"},
        {withNeighbour(R"("unknownTlvs": [{"type": 9, "info": ")" + a512 + R"("}])"),
         n + ".unknownTlvs[0].info: the string \"" + std::string(44, 'a') +
             "...\" has 512 bytes, more than the 511 allowed"},
        {withNeighbour(R"("unknownTlvs": [{"type": 9, "info": "a"}, {"type": 9, "info": "b"}])"),
         n + ".unknownTlvs[1].type: 9 is a duplicate TLV type (each appears once per list)"},
        {withNeighbour(R"("dot1": {"vlanNames": [{"id": 0, "name": "v"}]})"),
         n + ".dot1.vlanNames[0].id: 0 is out of range (1..4094)"},
        {withNeighbour(R"("dot1": {"protoVlans": [{"id": 4095}]})"),
         n + ".dot1.protoVlans[0].id: 4095 is out of range (0..4094)"},
        {withNeighbour(
             R"("dot1": {"vlanNames": [{"id": 5, "name": "a"}, {"id": 5, "name": "b"}]})"),
         n + ".dot1.vlanNames[1].id: 5 is a duplicate VLAN id (each appears once per list)"},
        {withPort(R"("vlanNames": [{"id": 4095, "name": "v"}])"),
         l + ".vlanNames[0].id: 4095 is out of range (1..4094)"},
        {withPort(R"("protoVlans": [{"id": 65535}])"),
         l + ".protoVlans[0].id: 65535 is out of range (0..4094)"},
        {withPort(R"("vlanNames": [{"id": 5, "name": ""}])"),
         l + ".vlanNames[0].name: the string \"\" has 0 bytes, fewer than the 1 required"},
        {withPort(R"("vlanNames": [{"id": 5, "name": ")" + std::string(33, 'v') + R"("}])"),
         l + ".vlanNames[0].name: the string \"" + std::string(33, 'v') +
             "\" has 33 bytes, more than the 32 allowed"},
        {withPort(R"("protocols": [{"index": 2, "id": "a"}, {"index": 2, "id": "b"}])"),
         l + ".protocols[1].index: 2 is a duplicate protocol index (each appears once per list)"},
        {withNeighbour(R"("managementAddresses": [{"subtype": 6, "address": {"hex": ")" +
                       std::string(64, '0') + R"("}}])"),
         n + ".managementAddresses[0].address: {\"hex\": \"" + std::string(44, '0') +
             "...\"} has 32 bytes, more than the 31 allowed"},
        {withNeighbour(R"("managementAddresses": [{"subtype": "ipV4", "address": "192.0.2.1"},
             {"subtype": 1, "address": "192.0.2.1"}])"),
         n + ".managementAddresses[1].address: the string \"192.0.2.1\" is a duplicate "
             "management address (subtype and address together appear once per list)"},
        {withLocalSystem(R"("managementAddresses": [
             {"subtype": 1, "address": "192.0.2.1", "priority": 3},
             {"subtype": 1, "address": "192.0.2.2", "priority": 3}])"),
         "$.localSystem.managementAddresses[1].priority: 3 is a duplicate priority (each "
         "management address needs its own)"},
        {withNeighbour(R"("orgDefTlvs": [{"oui": "00-80-c2", "subtype": 1, "index": 1, "info": "a"},
             {"oui": "00-80-c2", "subtype": 1, "index": 1, "info": "b"}])"),
         n + ".orgDefTlvs[1].index: 1 is a duplicate index for this oui and subtype (oui, "
             "subtype and index together appear once)"},
        {"{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 1, "neighbors": [
             {"index": 4, "chassisIdSubtype": 7, "chassisId": "c", "portIdSubtype": 7,
              "portId": "p"}, {"index": 4, "chassisIdSubtype": 7, "chassisId": "c",
              "portIdSubtype": 7, "portId": "p"}]}]})",
         "$.interfaces[0].neighbors[1].index: 4 is a duplicate neighbour index (each appears "
         "once per interface)"},
        {"{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 1},
             {"name": "e2", "portNum": 1}]})",
         "$.interfaces[1].portNum: 1 is a duplicate portNum (each interface needs its own)"},
        {"{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 1},
             {"name": "e1", "portNum": 2}]})",
         "$.interfaces[1].name: \"e1\" is a duplicate interface name (each appears once per "
         "list)"},
        {"{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 4095}]})",
         "$.interfaces[0].portNum: 4095 is out of range (1..4094)"},
        {withPort(R"("med": {"locations": [{"coordinates": {"latitude": 91, "longitude": 0}}]})"),
         l + ".med.locations[0].coordinates.latitude: 91 is out of range (-90..90)"},
        {withPort(R"("med": {"locations": [{"coordinates": {"latitude": 0, "longitude": 0,
             "altitude": 3e6}}]})"),
         l + ".med.locations[0].coordinates.altitude: 3000000.0 is out of range "
             "(-2097152..2097151)"},
        {withPort(R"("med": {"locations": [{"civicAddress": {"country": "USA"}}]})"),
         l + ".med.locations[0].civicAddress.country: the string \"USA\" is not a country code "
             "(two letters)"},
        {withPort(R"("med": {"locations": [{"elin": "12345abcde\n"}]})"),
         l + ".med.locations[0].elin: the string \"12345abcde\\n\" is not an ELIN (10 to 25 "
             "digits)"},
        {withPort(R"("med": {"locations": [{"elin": "123456789"}]})"),
         l + ".med.locations[0].elin: the string \"123456789\" is not an ELIN (10 to 25 digits)"},
        {withPort(R"("med": {"locations": [{"elin": "1234567890"}, {"elin": "1234567891"}]})"),
         l + ".med.locations[1].elin: 4 is a duplicate location subtype (each form appears once "
             "per list)"},
        {withPort(R"("med": {"locations": [{"subtype": 1, "info": ")" + std::string(257, 'i') +
                  R"("}]})"),
         l + ".med.locations[0].info: the string \"" + std::string(44, 'i') +
             "...\" has 257 bytes, more than the 256 allowed"},
        {withPort(R"("med": {"policies": [{"appType": 9}]})"),
         l + ".med.policies[0].appType: 9 is not one of: unknown (0), voice (1), voiceSignaling "
             "(2), guestVoice (3), guestVoiceSignaling (4), softPhoneVoice (5), "
             "videoconferencing (6), streamingVideo (7), videoSignaling (8)"},
        {withPort(R"("med": {"policies": [{"appType": "voice"}, {"appType": 1}]})"),
         l + ".med.policies[1].appType: 1 is a duplicate application type (each appears once "
             "per list)"},
        {withNeighbour(R"("med": {"deviceClass": 1, "inventory": {"serialNum": ")" +
                       std::string(33, 's') + R"("}})"),
         n + ".med.inventory.serialNum: the string \"" + std::string(33, 's') +
             "\" has 33 bytes, more than the 32 allowed"},
        {"{" + local + R"(}, "interfaces": [{"name": "", "portNum": 1}]})",
         "$.interfaces[0].name: expected an interface name, found the string \"\""},
        {"{" + local + R"(}, "interfaces": [{"name": "e1", "portNum": 1,
             "config": {"notificationEnable": 1}}]})",
         "$.interfaces[0].config.notificationEnable: expected true or false, found 1"},
        {"{" + local + R"(}, "config": {"medFastStartRepeatCount": 0}})",
         "$.config.medFastStartRepeatCount: 0 is out of range (1..10)"},
        {withNeighbour(R"("managementAddresses": [{"subtype": "ipV6", "address": "2001:db8::g"}])"),
         n + ".managementAddresses[0].address: expected an IPv6 address such as \"2001:db8::1\", "
             "found the string \"2001:db8::g\""},
        {withNeighbour(R"("lastChangeTime": -1)"),
         n + ".lastChangeTime: -1 is not a time (seconds since 1970, 0..253402300799)"},
        {withNeighbour(R"("med": {"deviceClass": 5})"),
         n + ".med.deviceClass: 5 is not one of: notDefined (0), endpointClass1 (1), "
             "endpointClass2 (2), endpointClass3 (3), networkConnectivity (4)"},
        {withNeighbour(R"("med": {"deviceClass": 3, "policies": [{"appType": 1, "dscp": 64}]})"),
         n + ".med.policies[0].dscp: 64 is out of range (0..63)"},
        {withNeighbour(R"("med": {"deviceClass": 3, "capCurrent": [0], "inventory": {}})"),
         n + ".med.capCurrent: the neighbour sends inventory, which capCurrent does not name"},
        {withNeighbour(
             R"("med": {"deviceClass": 3, "power": {"deviceType": 3, "source": "primary"}})"),
         n + ".med.power.source: unknown name \"primary\"; expected one of: unknown, fromPSE, "
             "local, localAndPSE (or a number)"},
        {withPort(R"("med": {"locations": [{"elin": "5550100000", "info": "x"}]})"),
         l + ".med.locations[0]: expected exactly one of: info (with subtype), coordinates, "
             "civicAddress, elin"},
        {withPort(R"("med": {"psePower": {"powerAv": 1024}})"),
         l + ".med.psePower.powerAv: 1024 is out of range (0..1023)"},
        {withPort(R"("protoVlans": [{"id": 7}, {"id": 7}])"),
         l + ".protoVlans[1].id: 7 is a duplicate port-and-protocol VLAN id (each appears once "
             "per list)"},
        {"{\n  \"config\": {\n    \"txDelay\": 2,\n  }\n}",
         "line 4, column 3: not valid JSON: syntax error while parsing object key - unexpected "
         "'}'; expected string literal"},
        {"[]", "$: expected an object, found an array"},
        {withNeighbour(R"("sysName": 5)"),
         n + ".sysName: expected a string or {\"hex\": \"...\"}, found 5"},
        {withNeighbour(
             R"("dot1": {"protocols": [{"index": 1, "id": "a"}, {"index": 1, "id": "b"}]})"),
         n + ".dot1.protocols[1].index: 1 is a duplicate protocol index (each appears once per "
             "list)"},
        {withNeighbour(R"("dot3": {"power": {"class": "class9"}})"),
         n + ".dot3.power.class: unknown name \"class9\"; expected one of: class0, class1, "
             "class2, class3, class4 (or a number)"},
        {withNeighbour(R"("managementAddresses": [{"subtype": -1, "address": "a"}])"),
         n + ".managementAddresses[0].subtype: -1 is out of range (0..2147483647)"},
        {withNeighbour(R"("orgDefTlvs": [{"oui": 1, "subtype": 1, "info": "i"}])"),
         n + ".orgDefTlvs[0]: missing key \"index\""},
        {withNeighbour(R"("dot3": {"macPhy": {"autoNegAdvertisedCap": "0x10000"}})"),
         n + ".dot3.macPhy.autoNegAdvertisedCap: expected a 16-bit number such as 27648 or "
             "\"0x6c00\", found the string \"0x10000\""},
        {R"({"localSystem": {}, "localSystem": {}})",
         "$.localSystem: duplicate key (a key may appear once per object)"},
        {"{}", "$: missing key \"localSystem\""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(refusal([&] { parseState(c.document); }), c.refusal) << c.document;
    }
}

TEST(StateDocumentReading, DefaultsFollowTheDocumentAndTheInterfaceName) {
    auto doc = parseState(R"({"localSystem": {"chassisIdSubtype": "macAddress",
        "chassisId": "02:00:00:00:00:01"}, "interfaces": [{"name": "Ethernet7", "portNum": 7,
        "local": {"portDesc": "d"}, "neighbors": [{"index": 1, "chassisIdSubtype": 4,
        "chassisId": "02:00:00:00:00:02", "portIdSubtype": 3, "portId": "02-00-00-00-00-03",
        "dot3": {"maxFrameSize": 9236}}]}]})");
    const auto& intf = doc.interfaces.at(Ifkit::IntfId(Zim::String8("Ethernet7")));
    EXPECT_EQ(intf.local.portId.str(), "Ethernet7");
    EXPECT_EQ(intf.local.portIdSubtype, 5);
    EXPECT_EQ(intf.config.adminStatus, 3);
    EXPECT_EQ(doc.config.messageTxInterval, 30);
    const auto& n = intf.neighbors.at(1);
    EXPECT_EQ(n.portId.size(), 6u);
    EXPECT_EQ(n.maxFrameSize, 9236);
    EXPECT_FALSE(n.macPhy);
    EXPECT_FALSE(n.portVlanId);
    EXPECT_FALSE(doc.status.remTablesInserts);
}

// --- hostile input: every refusal is a StateError with a place, never anything else --------

const std::string minimal = R"("localSystem": {"chassisIdSubtype": 7, "chassisId": "x"})";

TEST(StateHostileInput, NumbersBeyondADoubleAreRefusedAtTheirPlace) {
    EXPECT_EQ(refusal([] { parseState(R"({"config": {"txDelay": 1e400}})"); }),
              "$.config.txDelay: number overflow parsing '1e400'");
    EXPECT_EQ(refusal([] { parseState(R"({"x": [1, 2, -1e999]})"); }),
              "$.x[2]: number overflow parsing '-1e999'");
    const std::string digits(400, '7');
    EXPECT_EQ(refusal([&] {
                  parseState("{\"stray\": " + digits + "}");
              }).rfind("$.stray: number overflow parsing '777", 0),
              0u);
}

TEST(StateHostileInput, OidsThatBerCannotCarryAreRefused) {
    for (const char* good : {"2.4294967215", "1.39.1", "0.0", "2.999.1"}) {
        EXPECT_EQ(readOid(Json(good), "$").str(), good);
    }
    EXPECT_REFUSED(readOid(Json("3.1"), "$.oid"),
                   "$.oid: the string \"3.1\" cannot be sent: the first number of an OID is 0, "
                   "1 or 2");
    EXPECT_REFUSED(readOid(Json("1.40"), "$.oid"),
                   "$.oid: the string \"1.40\" cannot be sent: under 1 the second number is "
                   "0..39");
    EXPECT_REFUSED(readOid(Json("2.4294967216.1"), "$.oid"),
                   "$.oid: the string \"2.4294967216.1\" cannot be sent: under 2 the second "
                   "number is 0..4294967215");
}

TEST(StateHostileInput, FileContentInMessagesIsEscapedAndShort) {
    auto forged = refusal([] {
        parseState("{" + minimal + R"(, "x\nlldp-snmpd: applied state file \u001b[31m": 1})");
    });
    EXPECT_EQ(forged.find('\n'), std::string::npos) << forged;
    EXPECT_EQ(forged.find('\x1b'), std::string::npos) << forged;
    EXPECT_EQ(forged.rfind(R"($["x\nlldp-snmpd: applied state file \u001b[31m"]: unknown key)", 0),
              0u)
        << forged;

    const std::string huge(maxStateString, 'a');
    auto name = refusal([&] {
        parseState("{" + minimal + R"(, "interfaces": [{"name": "e", "portNum": 1, "config":
            {"adminStatus": ")" +
                   huge + "\"}}]}");
    });
    EXPECT_LT(name.size(), 300u);
    EXPECT_NE(name.find(R"(unknown name "aaaaaaaa)"), std::string::npos) << name;
    EXPECT_LT(refusal([&] { parseState("{\"" + huge + "\": 1}"); }).size(), 200u);
}

// TimeTicks are defined for every double: test_snmp_host.cpp.
TEST(StateHostileInput, TimesEndWithTheYear9999) {
    EXPECT_EQ(readTime(parse("253402300799"), "$"), 253402300799.0);
    EXPECT_REFUSED(readTime(parse("1e20"), "$.t"),
                   "$.t: 1e+20 is not a time (seconds since 1970, 0..253402300799)");
}

TEST(StateHostileInput, DepthAndStringSizeAreLimited) {
    std::string deep = "{" + minimal + ", \"x\": ";
    for (size_t i = 0; i < 100000; ++i) {
        deep += "[";
    }
    auto refused = refusal([&] { parseState(deep); });
    EXPECT_NE(refused.find("nested deeper than the 32 levels allowed"), std::string::npos)
        << refused.substr(0, 200);
    auto longString = refusal([] {
        parseState(R"({"localSystem": {"sysName": ")" + std::string(maxStateString + 1, 'n') +
                   "\"}}");
    });
    EXPECT_EQ(longString.rfind("$.localSystem.sysName: \"nnnn", 0), 0u);
    EXPECT_NE(longString.find("has 65537 bytes, more than the 65536 allowed"), std::string::npos);
}

class StateFileKinds : public testing::Test {
protected:
    void SetUp() override {
        dir = std::filesystem::temp_directory_path() / ("state-kinds-" + std::to_string(getpid()));
        std::filesystem::create_directories(dir);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::filesystem::path dir;
};

TEST_F(StateFileKinds, OnlyRegularFilesWithinTheSizeLimitAreRead) {
    auto fifo = dir / "fifo.json";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(refusal([&] { loadStateFile(fifo); }),
              "$: cannot read: not a regular file (a named pipe)");
    auto link = dir / "link.json";
    std::filesystem::create_symlink(fifo, link);
    EXPECT_EQ(refusal([&] { loadStateFile(link); }),
              "$: cannot read: not a regular file (a named pipe)");
    EXPECT_EQ(refusal([&] { loadStateFile(dir); }),
              "$: cannot read: not a regular file (a directory)");
    EXPECT_EQ(refusal([&] { loadStateFile(dir / "absent.json"); }),
              "$: cannot open: No such file or directory");

    auto big = dir / "big.json";
    std::ofstream(big) << "{}";
    std::filesystem::resize_file(big, maxStateFileSize + 1);
    EXPECT_EQ(refusal([&] { loadStateFile(big); }),
              "$: the file has 67108865 bytes, more than the 67108864 allowed");
    std::ofstream(big, std::ios::trunc) << "{" << minimal << "}";
    EXPECT_EQ(loadStateFile(big).localSystem.chassisId.str(), "x");
}

} // namespace
