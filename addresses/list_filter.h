// Page and search of the address lists, as requests name them.
#pragma once

#include "platform/mailvane/filter.h"
#include "platform/web/web_man.h"

/// The parameters "start", "limit", "search_type" and "search_key" of the access and blind-copy
/// lists; absent ones ask for the first 50 entries, unsearched.
Filter ReadListFilter(WebMan& web);
