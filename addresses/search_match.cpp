// The search of the address lists.
#include "addresses/search_match.h"

#include <cstring>
#include <string>

#include "frame/log.h"
#include "platform/hlib/text.h"

namespace {

/// Converts UTF-8 to upper case. False when the result is longer than twice the text.
bool UpperCase(const char* text, std::string& upper)
{
    upper.assign(2 * std::strlen(text) + 1, '\0');
    return HLIBCUnicodeUTF8StrUpper(text, upper.data(), upper.size()) >= 0;
}

}  // namespace

bool SearchMatches(const char* text, const char* query)
{
    if (text == nullptr || query == nullptr || *text == '\0') return false;
    if (*query == '\0') return true;

    std::string upperText;
    if (!UpperCase(text, upperText)) {
        LogError(Here(), "HLIBCUnicodeUTF8StrUpper failed, szStr=%s.", text);
        return false;
    }
    std::string upperQuery;
    if (!UpperCase(query, upperQuery)) {
        LogError(Here(), "HLIBCUnicodeUTF8StrUpper failed, szQuery=%s.", query);
        return false;
    }
    return std::strstr(upperText.c_str(), upperQuery.c_str()) != nullptr;
}
