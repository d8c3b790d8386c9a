// Calls about the certificate that the services show, and the keys that sign mail.
#include "upkeep/certificates/calls.h"

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/files.h"
#include "host/libmailvane/pages/key_pairs.h"
#include "host/libmailvane/render/certificate.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "upkeep/certificates/change.h"
#include "upkeep/certificates/pem_reader.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr std::size_t kLargest = std::size_t{64} << 10;  // bytes of both texts
constexpr std::size_t kFingerprint = 16;                 // digits
constexpr char kNoted[] = "certificate";

/// The fates of the web server, in their order.
constexpr const char* kFates[] = {"untouched", "restarted", "restarts"};

/// What the certificate in force says.
Answer InForce(const PemReader& reader)
{
    const auto settings = host::settings::StoredSettings::Read();
    if (!settings) return settings.reason();
    const auto installed = host::render::InstalledCertificate();
    const std::string path =
        installed ? installed->certificate : host::render::OwnCertificate().certificate;
    std::string text;
    if (!host::ReadFile(path, text)) {
        return host::SystemReason(Subject::List("certificate"), "cannot read " + path);
    }
    const std::string& host = settings->Text("smtp_hostname");
    const Result<CertificateFacts> facts = reader.Read(text, host);
    if (!facts) return facts.reason();

    Json::Value told;
    told["installed"] = installed.has_value();
    told["subject"] = facts->subject;
    told["issuer"] = facts->issuer;
    told["names"] = Json::Value(Json::arrayValue);
    for (const std::string& name : facts->names) told["names"].append(name);
    told["begins"] = Json::Int64{facts->begins};
    told["ends"] = Json::Int64{facts->ends};
    told["fingerprint"] = facts->fingerprint;
    told["self_signed"] = facts->selfSigned;
    told["host"] = host;
    told["for_host"] = facts->isForHost;
    return told;
}

Answer Change(const PemReader& reader, const CertificatePair& pair)
{
    host::NoteChange(kNoted);
    const Result<WebServerFate> fate = PutInForce(pair);
    if (!fate) return fate.reason();
    Answer answer = InForce(reader);
    if (answer) (*answer)["web_server"] = kFates[static_cast<std::size_t>(*fate)];
    return answer;
}

}  // namespace

Answer TlsShow(const Request& /*request*/)
{
    const Result<const PemReader*> reader = LoadPemReader();
    if (!reader) return reader.reason();
    return InForce(**reader);
}

Answer TlsInstall(const Request& request)
{
    const CertificatePair pair{request.Text("certificate"), request.Text("key")};
    if (pair.certificate.size() + pair.key.size() > kLargest) {
        return Reason{ReasonCode::kTooLong, Subject::Setting("certificate"),
                      "certificate and key are too long"};
    }
    const Result<const PemReader*> reader = LoadPemReader();
    if (!reader) return reader.reason();
    const Result<void> checked = (*reader)->CheckPair(pair.certificate, pair.key);
    if (!checked) return checked.reason();
    return Change(**reader, pair);
}

Answer TlsRemove(const Request& /*request*/)
{
    const Result<const PemReader*> reader = LoadPemReader();
    if (!reader) return reader.reason();
    return Change(**reader, {});
}

Answer DkimList(const Request& /*request*/)
{
    const Result<const PemReader*> reader = LoadPemReader();
    if (!reader) return reader.reason();

    Json::Value answer;
    answer["pairs"] = Json::Value(Json::arrayValue);
    for (const host::pages::StoredPair& pair : host::pages::StoredPairs()) {
        Json::Value told;
        told["date"] = pair.date;
        told["key"] = (*reader)->Digest(pair.publicKey).substr(0, kFingerprint);
        told["signs"] = pair.signs;
        answer["pairs"].append(std::move(told));
    }
    return answer;
}

}  // namespace upkeep
