// The table of daemons as JSON, for programs in other languages.
#pragma once

namespace service {

/// Prints an object with the list "daemons", in the order of their start. 0, or 1 on failure.
int PrintTable();

}  // namespace service
