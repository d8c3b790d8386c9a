// Calls about the daily report.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `report_now`: sends a report about the last 24 hours, whether or not they are switched on: `to`
/// (addresses), `server`, `port`, `taken` (whether the server took it), `code` (why not, else
/// empty). Ends within 17 seconds.
Answer ReportNow(const Request& request);

}  // namespace upkeep
