// Sending a message by an SMTP account, with libcurl.
#include "tools/report/smtp_client.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/pem.h"
#include "tools/report/own_address.h"

using host::Reason;
using host::ReasonCode;
using host::Result;

namespace report {

namespace {

constexpr int kTlsPort = 465;
constexpr long kConnectLimit = 20;  // seconds

using Curl = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using List = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

/// The part of the message still to be sent.
struct Rest {
    const char* bytes;
    std::size_t size;
};

std::size_t GiveBytes(char* buffer, std::size_t size, std::size_t count, void* rest)
{
    auto& left = *static_cast<Rest*>(rest);
    const std::size_t given = std::min(size * count, left.size);
    std::memcpy(buffer, left.bytes, given);
    left.bytes += given;
    left.size -= given;
    return given;
}

std::string UrlOf(const Reporter::SMTP& account, const std::string& greeting)
{
    const bool tls = account.secure && account.port == kTlsPort;
    const bool bare6 = account.server.find(':') != std::string::npos && account.server[0] != '[';
    return (tls ? "smtps://" : "smtp://") + (bare6 ? '[' + account.server + ']' : account.server) +
           ':' + std::to_string(account.port) + '/' + greeting;
}

/// Without `secure`, TLS is still used where the server offers it, with any certificate.
void SetSecurity(CURL* curl, bool secure, bool proves, const std::string& trusted)
{
    proves = secure && proves;
    curl_easy_setopt(curl, CURLOPT_USE_SSL,
                     static_cast<long>(secure ? CURLUSESSL_ALL : CURLUSESSL_TRY));
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, proves ? 1L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, proves ? 2L : 0L);
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!proves) return;

    curl_blob blob{const_cast<char*>(trusted.data()), trusted.size(), CURL_BLOB_COPY};
    curl_easy_setopt(curl, CURLOPT_CAINFO_BLOB, &blob);
    curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr);
}

List RecipientList(const std::vector<std::string>& recipients)
{
    curl_slist* list = nullptr;
    for (const std::string& recipient : recipients) {
        list = curl_slist_append(list, ('<' + recipient + '>').c_str());
    }
    return {list, curl_slist_free_all};
}

void SetTransfer(CURL* curl, const Delivery& delivery)
{
    const Reporter::SMTP& account = delivery.account;
    curl_easy_setopt(curl, CURLOPT_URL, UrlOf(account, delivery.envelope.greeting).c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectLimit);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, static_cast<long>(delivery.seconds));
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, ('<' + delivery.envelope.from + '>').c_str());
    SetSecurity(curl, account.secure, delivery.proves, delivery.trusted);
    if (!account.auth) return;

    curl_easy_setopt(curl, CURLOPT_USERNAME, account.account.c_str());
    curl_easy_setopt(curl, CURLOPT_PASSWORD, account.password.c_str());
}

ReasonCode CodeOf(CURLcode code)
{
    switch (code) {
        case CURLE_OPERATION_TIMEDOUT:
            return ReasonCode::kOutOfTime;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
            return ReasonCode::kDaemonIsDown;
        default:
            return ReasonCode::kDaemonRefuses;
    }
}

/// Makes the socket of a connection, but for one to this machine.
curl_socket_t OpenElsewhere(void* isOwn, curlsocktype /*purpose*/, curl_sockaddr* address)
{
    if (IsOwnAddress(&address->addr, address->addrlen)) {
        *static_cast<bool*>(isOwn) = true;
        return CURL_SOCKET_BAD;
    }
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

std::size_t DropBytes(char* /*buffer*/, std::size_t size, std::size_t count, void* /*nothing*/)
{
    return size * count;
}

/// The step at which a conversation ended.
Step StepOf(CURLcode code, bool isConnected)
{
    switch (code) {
        case CURLE_OK:
            return Step::kDone;
        case CURLE_COULDNT_RESOLVE_HOST:
            return Step::kName;
        case CURLE_COULDNT_CONNECT:
            return Step::kConnection;
        case CURLE_USE_SSL_FAILED:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_PEER_FAILED_VERIFICATION:
            return Step::kEncryption;
        case CURLE_LOGIN_DENIED:
            return Step::kLogin;
        default:
            return isConnected ? Step::kAnswer : Step::kConnection;
    }
}

ReasonCode CauseOf(CURLcode code)
{
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_USE_SSL_FAILED:
            return ReasonCode::kMissing;
        case CURLE_PEER_FAILED_VERIFICATION:
            return ReasonCode::kNoMatch;
        default:
            return CodeOf(code);
    }
}

}  // namespace

std::string TrustedCertificates()
{
    std::string trusted;
    if (!host::ReadFile(host::Path(host::kAuthorities), trusted)) trusted.clear();
    // Only the certificate is taken from our files, which may also have a key.
    for (const char* own : {"etc/tls/cert.pem", "etc/generated/current/tls/cert.pem"}) {
        std::string text;
        if (!host::ReadFile(host::PackagePath(own), text)) continue;
        trusted.append("\n").append(host::PemBlock(text, "CERTIFICATE")).append("\n");
    }
    return trusted;
}

Result<void> CheckAccount(const Reporter::SMTP& account, const std::vector<std::string>& recipients)
{
    const auto missing = [](const char* setting, const char* text) {
        return Reason{ReasonCode::kMissing, setting, text};
    };
    if (account.server.empty()) return missing("smtp_server", "no SMTP server is set");
    if (account.port <= 0) return missing("smtp_port", "no port of the SMTP server is set");
    if (recipients.empty()) return missing("rcpt", "no recipient is set");
    if (account.auth && account.account.empty()) {
        return missing("smtp_account", "no account name is set");
    }
    return {};
}

Result<void> Send(const Delivery& delivery)
{
    const Curl curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl) return Reason{ReasonCode::kSystem, delivery.account.server, "out of memory"};

    const List recipients = RecipientList(delivery.envelope.to);
    Rest rest{delivery.message.data(), delivery.message.size()};
    std::array<char, CURL_ERROR_SIZE> reason{};
    SetTransfer(curl.get(), delivery);
    curl_easy_setopt(curl.get(), CURLOPT_MAIL_RCPT, recipients.get());
    curl_easy_setopt(curl.get(), CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_READFUNCTION, GiveBytes);
    curl_easy_setopt(curl.get(), CURLOPT_READDATA, &rest);
    curl_easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, reason.data());
    const CURLcode result = curl_easy_perform(curl.get());
    if (result == CURLE_OK) return {};
    return Reason{CodeOf(result), delivery.account.server,
                  reason[0] != '\0' ? reason.data() : curl_easy_strerror(result)};
}

Greeting Greet(const Delivery& delivery)
{
    Greeting greeting;
    const Curl curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl) return greeting;

    SetTransfer(curl.get(), delivery);
    curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, "NOOP");
    curl_easy_setopt(curl.get(), CURLOPT_SASL_IR, 1L);  // as the mail server does
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, DropBytes);
    curl_easy_setopt(curl.get(), CURLOPT_OPENSOCKETFUNCTION, OpenElsewhere);
    curl_easy_setopt(curl.get(), CURLOPT_OPENSOCKETDATA, &greeting.isOwn);
    // A name server that is silent is not waited for any longer.
    curl_easy_setopt(curl.get(), CURLOPT_QUICK_EXIT, 1L);
    const CURLcode result = curl_easy_perform(curl.get());

    curl_off_t connected = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_CONNECT_TIME_T, &connected);
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &greeting.status);
    greeting.step = StepOf(result, connected > 0);
    greeting.code = CauseOf(result);
    return greeting;
}

}  // namespace report
