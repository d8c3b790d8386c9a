// The search of the address lists.
#include "addresses/search_match.h"

#include <cstring>

#include "frame/log.h"
#include "platform/hlib/text.h"

namespace {

/// Converts UTF-8 to upper case. False when the result is longer than twice the text.
bool UpperCase(const char* text, std::string& upper)
{
    upper.assign(2 * std::strlen(text) + 1, '\0');
    if (HLIBCUnicodeUTF8StrUpper(text, upper.data(), upper.size()) >= 0) return true;

    upper.clear();
    return false;
}

}  // namespace

bool Search::Matches(const char* text)
{
    if (text == nullptr || *text == '\0') return false;
    if (query_.empty()) return true;

    if (!UpperCase(text, upperText_)) {
        LogError(Here(), "HLIBCUnicodeUTF8StrUpper failed, szStr=%s.", text);
        return false;
    }
    if (upperQuery_.empty() && !UpperCase(query_.c_str(), upperQuery_)) {
        LogError(Here(), "HLIBCUnicodeUTF8StrUpper failed, szQuery=%s.", query_.c_str());
        return false;
    }
    return std::strstr(upperText_.c_str(), upperQuery_.c_str()) != nullptr;
}
