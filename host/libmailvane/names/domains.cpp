// Domains and what holds them. Loads libidn2 when a name is in another script: linked, it would
// cost each request a tenth more.
#include "host/libmailvane/names/domains.h"

#include <dlfcn.h>
#include <idn2.h>

#include <algorithm>
#include <memory>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::names {
namespace {

const char kLibrary[] = "libidn2.so.0";

bool IsAscii(const std::string& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The functions of the library; null where it is missing, which is logged.
struct Idn {
    decltype(&idn2_lookup_u8) lookup = nullptr;
    decltype(&idn2_free) release = nullptr;

    Idn()
    {
        void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            Log(LOG_ERR, "%s cannot be loaded: names in other scripts are refused", kLibrary);
            return;
        }
        lookup = reinterpret_cast<decltype(lookup)>(dlsym(library, "idn2_lookup_u8"));
        release = reinterpret_cast<decltype(release)>(dlsym(library, "idn2_free"));
    }

    bool loaded() const { return lookup != nullptr && release != nullptr; }
};

/// The A-labels of a text whose labels are in any script; nothing when it has none.
std::optional<std::string> ALabels(const std::string& text)
{
    if (text.find('\0') != std::string::npos) return std::nullopt;
    static const Idn idn;
    if (!idn.loaded()) return std::nullopt;

    std::uint8_t* labels = nullptr;
    const auto* source = reinterpret_cast<const std::uint8_t*>(text.c_str());
    if (idn.lookup(source, &labels, IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL) != IDN2_OK) {
        return std::nullopt;
    }
    const std::unique_ptr<std::uint8_t, decltype(idn.release)> owner(labels, idn.release);
    return std::string(reinterpret_cast<const char*>(labels));
}

std::string InStoredSpelling(const std::string& domain)
{
    return InLowerCase(IsAscii(domain) ? domain : ALabels(domain).value_or(domain));
}

}  // namespace

std::optional<std::string> StoredDomain(const std::string& text)
{
    std::string domain = InStoredSpelling(text);
    return IsDomain(domain) ? std::make_optional(std::move(domain)) : std::nullopt;
}

std::optional<std::string> StoredMailDomain(const std::string& text)
{
    std::optional<std::string> domain = StoredDomain(text);
    const bool hasLabels = domain && domain->find('.') != std::string::npos;
    return hasLabels ? domain : std::nullopt;
}

std::string WithALabels(const std::string& address)
{
    const auto at = address.rfind('@');
    if (at == std::string::npos || IsAscii(address.substr(at))) return address;
    return address.substr(0, at + 1) + InStoredSpelling(address.substr(at + 1));
}

std::vector<std::string> SearchPatterns(const std::string& text)
{
    std::vector<std::string> patterns{LikeAnywhere(text)};
    const auto begin = text.rfind('@') + 1;  // npos + 1 is 0
    const std::string domain = text.substr(begin);
    if (IsAscii(domain)) return patterns;

    const auto labels = domain.find_first_not_of('.');
    if (labels == std::string::npos) return patterns;
    if (const auto stored = ALabels(domain.substr(labels))) {
        patterns.push_back(LikeAnywhere(text.substr(0, begin + labels) + *stored));
    }
    return patterns;
}

}  // namespace host::names
