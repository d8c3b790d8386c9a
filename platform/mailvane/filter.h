// Page and search of the access and blind-copy lists. Provided by libmailvane.so.
#pragma once

#include <string>

struct Filter {
    int start = 0;                   ///< index of the first entry
    int limit = 50;                  ///< size of the page; 0 and less give none
    std::string searchType = "all";  ///< the field to search, "all" for every field
    std::string searchKey;           ///< empty for no search
};
