// Page and search of the address lists, as requests name them.
#include "addresses/list_filter.h"

#include "frame/number_parameter.h"

Filter ReadListFilter(WebMan& web)
{
    Filter filter;
    filter.start = static_cast<int>(NumberParameter(web, "start", "0"));
    filter.limit = static_cast<int>(NumberParameter(web, "limit", "50"));
    filter.searchType = web.In("search_type", "all");
    filter.searchKey = web.In("search_key", "");
    return filter;
}
