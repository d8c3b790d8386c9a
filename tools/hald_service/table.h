// The table of daemons as JSON, for programs in other languages.
#pragma once

namespace service {

/// Prints it: a member "daemons", a list in the order in which they start. 0, or 1 on failure.
int PrintTable();

}  // namespace service
