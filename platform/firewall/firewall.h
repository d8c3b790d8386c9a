// The machine's packet filter. Provided by libhaldfirewall.so.
#pragma once

/// Makes the packet filter follow the enabled services. 0; negative on failure, the rules in force
/// are then the old ones.
int HALDFwRuleHup();
