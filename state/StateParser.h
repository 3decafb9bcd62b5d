#pragma once
// Reads a state file (JSON) into a StateDoc. Everything is checked before anything is applied:
// a document with one bad value is refused whole, naming where (a JSON path such as
// "$.interfaces[2].neighbors[0].chassisId") and why.
#include "state/StateDoc.h"

#include <cstddef>
#include <functional>
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

// Limits of what is read, so that no file however large or deep holds the reader for long.
inline constexpr size_t maxStateFileSize = 64 * 1024 * 1024;
inline constexpr size_t maxStateDepth = 32;
inline constexpr size_t maxStateString = 64 * 1024;

// Throws StateError.
StateDoc parseState(std::string_view text);
// Whether a neighbour of the interface with this name and port number is applied just as it is
// read; the reader then leaves it out of the document (InterfaceDoc::unchanged).
using AppliedNeighbor =
    std::function<bool(const Ifkit::IntfId&, Interface::EthPortId, const NeighborDoc&)>;

// Reads and parses a regular file (after links); anything else, or an unreadable or too
// large file, is a StateError too (path "$"). Never blocks on a named pipe.
StateDoc loadStateFile(const std::string& fileName, const AppliedNeighbor& applied = {});

} // namespace LldpSnmpd
