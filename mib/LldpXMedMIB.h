#pragma once
// LLDP-EXT-MED-MIB (the LLDP-MED extension: network policies, location, extended power via
// MDI, inventory): its configuration, local and remote tables. The scalars and the
// notification are in LldpXMedScalars.
#include "mib/ModuleDeclarations.h"

// The module's tables, each named once.
#define LLDP_XMED_MIB_TABLES(X)                                                                    \
    X(lldpXMedPortConfigTable)                                                                     \
    X(lldpXMedLocMediaPolicyTable)                                                                 \
    X(lldpXMedLocLocationTable)                                                                    \
    X(lldpXMedLocXPoEPSEPortTable)                                                                 \
    X(lldpXMedRemCapabilitiesTable)                                                                \
    X(lldpXMedRemMediaPolicyTable)                                                                 \
    X(lldpXMedRemInventoryTable)                                                                   \
    X(lldpXMedRemLocationTable)                                                                    \
    X(lldpXMedRemXPoETable)                                                                        \
    X(lldpXMedRemXPoEPSETable)                                                                     \
    X(lldpXMedRemXPoEPDTable)

LLDP_MIB_MODULE_DECLARATIONS(LldpXMedMIB, LLDP_XMED_MIB_TABLES)
