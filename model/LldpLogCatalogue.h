#pragma once
// The LLDP log catalogue. Each unit that includes it holds its own copy of the five handles,
// deliberately: the catalogue is compiled into every unit that announces it to the platform.
#include "platform/zim/LogHandle.h"

namespace {

const Zim::LogHandle
    LLDP_NEIGHBOR_NEW("LLDP_NEIGHBOR_NEW", Zim::LogSeverity::notice,
                      "LLDP neighbor with chassisId %s and portId %s added on interface %s",
                      "A new LLDP neighbor was added to the neighbor table.", Zim::NoActionRequired,
                      0.0, 1.0, 0);

const Zim::LogHandle LLDP_NEIGHBOR_TIMEOUT(
    "LLDP_NEIGHBOR_TIMEOUT", Zim::LogSeverity::notice,
    "LLDP neighbor with chassisId %s and portId %s timed out on interface %s",
    "An LLDP neighbor was deleted from the neighbor table since it timed out.",
    Zim::NoActionRequired, 0.0, 1.0, 0);

const Zim::LogHandle LLDP_NEIGHBOR_GONE(
    "LLDP_NEIGHBOR_GONE", Zim::LogSeverity::notice,
    "Received a shutdown frame from LLDP neighbor with chassisId %s and portId %s on interface %s",
    "An LLDP neighbor was deleted from the neighbor table since an LLDPDU with a TTL of 0 was "
    "received from that neighbor.",
    Zim::NoActionRequired, 0.0, 1.0, 0);

const Zim::LogHandle LLDP_RX_RATELIMIT(
    "LLDP_RX_RATELIMIT", Zim::LogSeverity::warning,
    "Exceeded Rx LLDPDU rate limit on %s (more than %d LLDPDUs in %f seconds)",
    "The switch received too many LLDPDUs on a port in too short a period of time, so we "
    "dropped the most recent received LLDPDU.",
    "This could indicate a mis-configured neighbor, or a network loop.  Check the configuration "
    "of the neighbor connected to the interface and configure the LLDPDUs to be sent at a "
    "reasonable rate and ensure there are no network loops.",
    60.0, 1.0, 0);

const Zim::LogHandle
    LLDP_REMOTE_TABLES_CLEARED("LLDP_REMOTE_TABLES_CLEARED", Zim::LogSeverity::notice,
                               "LLDP neighbor table cleared by %s on %s",
                               "The LLDP neighbor table was cleared by a CLI command.",
                               Zim::NoActionRequired, 0.0, 1.0, 0);

} // namespace
