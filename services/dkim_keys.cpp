// DKIM key pair: generate_dkim_key, and what the security page needs of it.
#include "services/dkim_keys.h"

#include <sys/stat.h>

#include <algorithm>

#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/service_control.h"
#include "frame/settings_json.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/rsa_key.h"

// The double slash is part of the path as other programs have stored it.
const char kDkimPublicKey[] = "/var/packages/Mailvane/etc/dkim.key//dkim.public";

namespace {

const char kKeyDir[] = "/var/packages/Mailvane/etc/dkim.key/";
const char kPrivateKey[] = "/var/packages/Mailvane/etc/dkim.key//dkim.private";
constexpr unsigned int kKeyBits = 1024;
const std::string kBeginMark = "-----BEGIN PUBLIC KEY-----";
const std::string kEndMark = "-----END PUBLIC KEY-----";

/// The base64 text between the BEGIN and END lines of a PEM file, joined to one line.
std::string KeyBody(std::string text)
{
    // Deliberate: the place of the mark is that in the text with its line feeds, and carriage
    // returns stay, as the published records have it.
    const auto begin = text.find(kBeginMark);
    text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
    if (begin != std::string::npos) text.erase(begin, kBeginMark.size());
    const auto end = text.find(kEndMark);
    if (end != std::string::npos) text.erase(end);
    return text;
}

Outcome MakeDkimKey(Json::Value& response)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    if (CreateDkimKeyPair() < 0) return Outcome::SystemError();

    std::string text;
    if (ReadDkimPublicKey(text) < 0) return Outcome::SystemError();

    if (Setting<bool>(postfix, "enable_dkim")) (void)RunOpenDkimScript("restart");
    response["dkim_public_key"] = text;
    return Outcome::Success();
}

}  // namespace

int CreateDkimKeyPair()
{
    (void)mkdir(kKeyDir, 0644);
    if (GenerateRSAPrivateKey(kPrivateKey, kKeyBits) < 0) {
        LogError(1809, "Failed to GenerateRSAPrivateKey");
        return -1;
    }

    if (GenerateRSAPublicKey(kPrivateKey, kDkimPublicKey) < 0) {
        LogError(1814, "Failed to GenerateRSAPublicKey");
        return -1;
    }

    return 0;
}

int ReadDkimPublicKey(std::string& text)
{
    std::string pem;
    if (ReadRSAPublicKey(kDkimPublicKey, pem) < 0) {
        LogError(1828, "Failed to ReadRSAPublicKey");
        return -1;
    }

    text = KeyBody(pem);
    return 0;
}

void MailvaneHandler::GenerateDkimKey()
{
    Json::Value response;
    Answer(response, MakeDkimKey(response));
}
