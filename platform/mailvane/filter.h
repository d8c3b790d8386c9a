// Page and search of the access lists and blind carbon copies. Provided by libmailvane.so.
#pragma once

#include <string>

struct Filter {
    int start = 0;                   ///< index of the first entry
    int limit = 50;                  ///< entries of the page; 0 or less for none
    std::string searchType = "all";  ///< the field to search, "all" for every field
    std::string searchKey;           ///< empty for no search
};
