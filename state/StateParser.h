#pragma once
// Reads a state file (JSON) into a StateDoc. Everything is checked before anything is applied:
// a document with one bad value is refused whole, naming where (a JSON path such as
// "$.interfaces[2].neighbors[0].chassisId") and why.
#include "state/StateDoc.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace LldpSnmpd {

class StateError : public std::runtime_error {
public:
    StateError(std::string path, std::string reason);
    // "$" and below; for a syntax error, the line and column instead.
    const std::string& path() const noexcept { return path_; }
    const std::string& reason() const noexcept { return reason_; }

private:
    std::string path_;
    std::string reason_;
};

// Throws StateError.
StateDoc parseState(std::string_view text);
// Reads and parses a file; an unreadable file is a StateError too (path "$").
StateDoc loadStateFile(const std::string& fileName);

} // namespace LldpSnmpd
