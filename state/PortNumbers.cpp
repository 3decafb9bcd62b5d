#include "state/PortNumbers.h"

#include <fstream>
#include <sstream>

namespace LldpSnmpd {

PortNumbers::PortNumbers(std::string file) : file_(std::move(file)) {
    if (file_.empty()) {
        return;
    }
    std::ifstream in(file_);
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        std::string name;
        long number = 0;
        if (fields >> name >> number && number >= 1 && number <= Interface::EthPortId::max) {
            reserved_[name] = static_cast<uint16_t>(number);
        }
    }
}

bool PortNumbers::heldByOther(uint16_t number, const std::string& name) const {
    for (const auto& [other, held] : held_) {
        if (held == number && other != name) {
            return true;
        }
    }
    return false;
}

bool PortNumbers::reservedForOther(uint16_t number, const std::string& name) const {
    for (const auto& [other, reserved] : reserved_) {
        if (reserved == number && other != name) {
            return true;
        }
    }
    return false;
}

std::optional<PortNumbers::Assignment> PortNumbers::numberFor(const std::string& name,
                                                              long ifIndex) {
    if (auto it = held_.find(name); it != held_.end()) {
        return Assignment{Interface::EthPortId(it->second), !reserved_.contains(name)};
    }
    if (ifIndex >= 1 && ifIndex <= Interface::EthPortId::max &&
        !heldByOther(static_cast<uint16_t>(ifIndex), name)) {
        held_[name] = static_cast<uint16_t>(ifIndex);
        reserved_.erase(name);
        return Assignment{Interface::EthPortId(static_cast<uint16_t>(ifIndex)), true};
    }
    if (auto it = reserved_.find(name); it != reserved_.end() && !heldByOther(it->second, name)) {
        held_[name] = it->second;
        return Assignment{Interface::EthPortId(it->second), false};
    }
    for (uint16_t number = Interface::EthPortId::max; number >= 1; --number) {
        if (heldByOther(number, name) || reservedForOther(number, name)) {
            continue;
        }
        held_[name] = number;
        reserved_[name] = number;
        save();
        return Assignment{Interface::EthPortId(number), false};
    }
    return std::nullopt;
}

void PortNumbers::release(const std::string& name) {
    held_.erase(name);
}

void PortNumbers::save() const {
    if (file_.empty()) {
        return;
    }
    const std::string temporary = file_ + ".tmp";
    {
        std::ofstream out(temporary, std::ios::trunc);
        out << "# interface name, SNMP port number: numbers lldp-snmpd gave in place of an "
               "ifIndex\n";
        for (const auto& [name, number] : reserved_) {
            out << name << ' ' << number << '\n';
        }
        if (!out) {
            return;
        }
    }
    std::rename(temporary.c_str(), file_.c_str());
}

} // namespace LldpSnmpd
