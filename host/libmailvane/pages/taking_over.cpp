// Settings that another mail server had. Reads the environment.
#include "host/libmailvane/pages/taking_over.h"

#include <cstdlib>
#include <sstream>
#include <string>

namespace host::pages {

bool TakesOver(std::string_view what)
{
    const char* const all = std::getenv("MAILVANE_TAKES_OVER");
    std::istringstream words(all == nullptr ? "" : all);
    for (std::string word; words >> word;) {
        if (word == what) return true;
    }
    return false;
}

}  // namespace host::pages
