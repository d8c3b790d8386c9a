// The language of the interface. Checks which languages the package has texts for.
#include "host/libkos/languages.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "host/libhaldcore/paths.h"
#include "host/libkos/header_value.h"
#include "host/libkos/text.h"

namespace kos {

namespace {

constexpr char kDefault[] = "en";
constexpr std::size_t kMaxAccepted = 20;  // entries of Accept-Language that are read

bool IsLanguage(std::string_view text)
{
    return text.size() >= 2 && text.size() <= 8 &&
           text.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string_view::npos;
}

std::string CookieLanguage(std::string_view cookies)
{
    while (!cookies.empty()) {
        std::string_view value = CutAt(cookies, ';');
        if (Trim(CutAt(value, '=')) == "lang" && IsLanguage(Trim(value))) {
            return std::string(Trim(value));
        }
    }
    return {};
}

struct Accepted {
    std::string language;
    double quality;
};

/// The languages of an Accept-Language header without their regions, best first: "de-AT" is "de".
std::vector<Accepted> ParseAccepted(std::string_view header)
{
    std::vector<Accepted> list;
    while (!header.empty() && list.size() < kMaxAccepted) {
        const HeaderValue entry = HeaderValue::Parse(CutAt(header, ','));
        std::string_view tag = entry.value();
        const std::string_view language = CutAt(tag, '-');
        const double quality = strtod(entry.Parameter("q").value_or("1").c_str(), nullptr);
        if (IsLanguage(language) && quality > 0) list.push_back({std::string(language), quality});
    }
    std::stable_sort(list.begin(), list.end(), [](const Accepted& left, const Accepted& right) {
        return left.quality > right.quality;
    });
    return list;
}

bool HasTexts(const std::string& language)
{
    return access(host::PackagePath("target/app/texts/" + language).c_str(), R_OK) == 0;
}

}  // namespace

std::string ChooseLanguage(const std::string* parameter, const std::string& cookies,
                           const std::string& acceptLanguage)
{
    if (parameter != nullptr && IsLanguage(*parameter)) return *parameter;

    std::string chosen = CookieLanguage(cookies);
    if (!chosen.empty()) return chosen;

    std::vector<Accepted> accepted = ParseAccepted(acceptLanguage);
    const auto found = std::find_if(accepted.begin(), accepted.end(),
                                    [](const Accepted& one) { return HasTexts(one.language); });
    return found != accepted.end() ? found->language : kDefault;
}

}  // namespace kos
