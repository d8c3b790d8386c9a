// The machine's packet filter. Provided by libhaldfirewall.so.
#pragma once

/// Makes the packet filter accept the ports of the enabled services. 0; negative on failure, with
/// the old rules still in force.
int HALDFwRuleHup();
