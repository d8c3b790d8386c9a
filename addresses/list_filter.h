// Page and search of the address lists, as requests name them.
#pragma once

#include "platform/mailvane/filter.h"
#include "platform/web/web_man.h"

/// Reads the parameters "start", "limit", "search_type" and "search_key" of the access lists and
/// blind carbon copies. Without them, the filter selects the first 50 entries, unsearched.
Filter ReadListFilter(WebMan& web);
