#pragma once
// SNMP port numbers for lldpd's interfaces. An interface's number is its ifIndex, so that a
// manager can join the LLDP tables to IF-MIB's ifTable. The port type only holds 1..4094: an
// interface whose ifIndex is above that (or whose ifIndex another interface already holds) gets
// the highest number that no interface holds or has been given, and keeps it for as long as the
// daemon runs, and across restarts when a file is given to remember it in.
#include "platform/lldp/PortTypes.h"

#include <map>
#include <optional>
#include <string>

namespace LldpSnmpd {

class PortNumbers {
public:
    // file: where given numbers are kept ("" for nowhere); read now when it exists.
    explicit PortNumbers(std::string file = {});

    struct Assignment {
        Interface::EthPortId port;
        bool isIfIndex = true;
    };
    // The interface's number; the same for as long as it is held. Empty when all 4094 are held.
    std::optional<Assignment> numberFor(const std::string& name, long ifIndex);
    // The interface went: its ifIndex is free for others; a given number stays reserved for it.
    void release(const std::string& name);

private:
    bool heldByOther(uint16_t number, const std::string& name) const;
    bool reservedForOther(uint16_t number, const std::string& name) const;
    void save() const;

    std::string file_;
    std::map<std::string, uint16_t> held_;     // interfaces present now
    std::map<std::string, uint16_t> reserved_; // numbers given instead of an ifIndex
};

} // namespace LldpSnmpd
