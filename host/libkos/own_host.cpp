// Host names of this machine. Reads /etc/default/mailvane, the settings and the certificate.
#include "host/libkos/own_host.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <sstream>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libkos/text.h"

namespace kos {

namespace {

using host::KeyValueFile;

constexpr std::size_t kLongestName = 253;

/// The name in a Host header in lower case, without port, brackets and final dot.
std::string NameIn(const std::string& header)
{
    std::string name = InLowerCase(header);
    // A colon before a bracket belongs to an IPv6 address.
    const std::size_t colon = name.rfind(':');
    if (colon != std::string::npos && name.find(']', colon) == std::string::npos)
        name.resize(colon);
    if (name.size() > 1 && name.front() == '[' && name.back() == ']')
        return name.substr(1, name.size() - 2);
    if (!name.empty() && name.back() == '.') name.pop_back();
    return name;
}

bool IsAddress(const std::string& name)
{
    in6_addr address = {};
    return inet_pton(AF_INET, name.c_str(), &address) == 1 ||
           inet_pton(AF_INET6, name.c_str(), &address) == 1;
}

bool IsHostName(const std::string& name)
{
    constexpr char kAllowed[] = "0123456789abcdefghijklmnopqrstuvwxyz.-_";
    return name.size() <= kLongestName && name.find_first_not_of(kAllowed) == std::string::npos &&
           !name.empty() && name[0] != '-';
}

/// A value of a key-value file; empty when the file or the key is missing.
std::string ValueIn(const std::string& path, const char* key)
{
    const auto file = KeyValueFile::Read(path);
    return file ? file->Get(key).value_or("") : "";
}

bool IsMachine(const std::string& name)
{
    std::array<char, kLongestName + 1> own = {};
    if (gethostname(own.data(), own.size() - 1) == 0 && name == InLowerCase(own.data()))
        return true;
    return name == InLowerCase(ValueIn(host::PackagePath("etc/mailvane.conf"), "smtp_hostname"));
}

bool IsListed(const std::string& name, const std::string& list)
{
    std::istringstream words(list);
    for (std::string word; words >> word;) {
        if (name == InLowerCase(word)) return true;
    }
    return false;
}

bool IsOfCertificate(const std::string& name)
{
    const std::string file = host::PackagePath("etc/tls/cert.pem");
    if (access(file.c_str(), R_OK) < 0) return false;
    host::ProgramOptions options;
    options.capture = true;
    const host::ProgramResult told = host::RunProgram(
        {host::Path(host::programs::kOpenssl), "x509", "-in", file, "-noout", "-checkhost", name},
        options);
    for (const host::Reason& cause : told.Causes()) host::LogReason(cause);
    return told.output.find(" does match ") != std::string::npos;
}

}  // namespace

bool IsOwnHost(const std::string& header)
{
    if (header.empty()) return true;

    const std::string name = NameIn(header);
    if (name == "localhost" || IsAddress(name)) return true;

    const std::string list = ValueIn(host::Path("/etc/default/mailvane"), "MAILVANE_WEB_HOSTS");
    const bool isJudged =
        !list.empty() || ValueIn(host::PackagePath("etc/mailvane.conf"), "web_names") == "own";
    if (!isJudged) return true;
    return IsHostName(name) && (IsMachine(name) || IsListed(name, list) || IsOfCertificate(name));
}

}  // namespace kos
