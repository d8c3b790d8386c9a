// The module that reads certificates and keys with libcrypto.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <memory>

#include "upkeep/certificates/pem_reader.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr int kWeakest = 112;  // bits of security, which TLS libraries of Debian ask for

/// Frees what the library has made.
struct Free {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(GENERAL_NAMES* names) const { GENERAL_NAMES_free(names); }
};
template <typename Thing>
using Owned = std::unique_ptr<Thing, Free>;

Owned<BIO> Reading(const std::string& text)
{
    return Owned<BIO>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

Reason About(ReasonCode code, Subject about, const char* text)
{
    return {code, std::move(about), text};
}

const Subject kCertificate = Subject::Setting("certificate");
const Subject kKey = Subject::Setting("key");

/// The certificates of a text in their order; none when one of them cannot be read.
std::vector<Owned<X509>> CertificatesIn(const std::string& text)
{
    std::vector<Owned<X509>> all;
    const Owned<BIO> bio = Reading(text);
    ERR_clear_error();
    while (X509* const one = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)) {
        all.emplace_back(one);
    }
    const bool isEnd = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
    ERR_clear_error();
    if (!isEnd) all.clear();
    return all;
}

/// In place of a password, which nobody could type: `asked` tells that one is wanted.
int NoPassword(char* /*buffer*/, int /*size*/, int /*isForWriting*/, void* asked)
{
    *static_cast<bool*>(asked) = true;
    return -1;
}

Result<Owned<EVP_PKEY>> ReadKey(const std::string& text)
{
    bool asked = false;
    const Owned<BIO> bio = Reading(text);
    Owned<EVP_PKEY> key(PEM_read_bio_PrivateKey(bio.get(), nullptr, NoPassword, &asked));
    ERR_clear_error();
    if (asked) return About(ReasonCode::kEncrypted, kKey, "the key has a password");
    if (!key) return About(ReasonCode::kBadFormat, kKey, "the key cannot be read");
    return key;
}

std::string TextOf(const X509_NAME* name)
{
    const Owned<BIO> bio(BIO_new(BIO_s_mem()));
    const unsigned long flags = XN_FLAG_ONELINE & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    (void)X509_NAME_print_ex(bio.get(), name, 0, flags);
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &bytes);
    return size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
}

std::int64_t SecondsOf(const ASN1_TIME* time)
{
    struct tm parts {};
    return ASN1_TIME_to_tm(time, &parts) == 1 ? static_cast<std::int64_t>(timegm(&parts)) : 0;
}

std::vector<std::string> HostsOf(const X509* certificate)
{
    std::vector<std::string> hosts;
    const Owned<GENERAL_NAMES> names(static_cast<GENERAL_NAMES*>(
        X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    for (int at = 0; at < sk_GENERAL_NAME_num(names.get()); ++at) {
        const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), at);
        if (name->type != GEN_DNS) continue;
        const unsigned char* const bytes = ASN1_STRING_get0_data(name->d.dNSName);
        hosts.emplace_back(bytes, bytes + ASN1_STRING_length(name->d.dNSName));
    }
    return hosts;
}

std::string InHex(const unsigned char* bytes, unsigned size, const char* between)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (unsigned at = 0; at < size; ++at) {
        if (at > 0) text += between;
        text += kDigits[bytes[at] / 16];
        text += kDigits[bytes[at] % 16];
    }
    return text;
}

class LibcryptoReader : public PemReader {
public:
    Result<CertificateFacts> Read(const std::string& certificates,
                                  const std::string& host) const override
    {
        const Owned<BIO> bio = Reading(certificates);
        const Owned<X509> one(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
        ERR_clear_error();
        if (!one) {
            return About(ReasonCode::kDamaged, Subject::List("certificate"),
                         "the certificate cannot be read");
        }
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned size = 0;
        (void)X509_digest(one.get(), EVP_sha256(), digest, &size);
        CertificateFacts facts;
        facts.subject = TextOf(X509_get_subject_name(one.get()));
        facts.issuer = TextOf(X509_get_issuer_name(one.get()));
        facts.names = HostsOf(one.get());
        facts.begins = SecondsOf(X509_get0_notBefore(one.get()));
        facts.ends = SecondsOf(X509_get0_notAfter(one.get()));
        facts.fingerprint = InHex(digest, size, ":");
        facts.selfSigned = X509_self_signed(one.get(), 0) == 1;
        facts.isForHost = X509_check_host(one.get(), host.data(), host.size(), 0, nullptr) == 1;
        return facts;
    }

    Result<void> CheckPair(const std::string& certificates, const std::string& key) const override
    {
        const std::vector<Owned<X509>> chain = CertificatesIn(certificates);
        if (chain.empty()) {
            return About(ReasonCode::kBadFormat, kCertificate, "the certificate cannot be read");
        }
        const Result<Owned<EVP_PKEY>> own = ReadKey(key);
        if (!own) return own.reason();
        if (X509_check_private_key(chain.front().get(), own->get()) != 1) {
            ERR_clear_error();
            return About(ReasonCode::kNoMatch, kKey, "the key is not that of the certificate");
        }
        if (EVP_PKEY_get_security_bits(own->get()) < kWeakest) {
            return About(ReasonCode::kTooShort, kKey, "the key is too weak");
        }
        for (std::size_t at = 1; at < chain.size(); ++at) {
            if (X509_check_issued(chain[at].get(), chain[at - 1].get()) == X509_V_OK) continue;
            return About(ReasonCode::kNoMatch, kCertificate,
                         "a certificate of the chain is not signed by the next");
        }
        return CheckDates(chain.front().get());
    }

    std::string Digest(const std::string& text) const override
    {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned size = 0;
        (void)EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha256(), nullptr);
        return InHex(digest, size, "");
    }

private:
    static Result<void> CheckDates(const X509* certificate)
    {
        const std::int64_t now = std::time(nullptr);
        if (SecondsOf(X509_get0_notAfter(certificate)) <= now) {
            return About(ReasonCode::kExpired, kCertificate, "the certificate has expired");
        }
        if (SecondsOf(X509_get0_notBefore(certificate)) > now) {
            return About(ReasonCode::kNotYet, kCertificate, "the certificate is not valid yet");
        }
        return {};
    }
};

}  // namespace

}  // namespace upkeep

const upkeep::PemReader* MailvanePemReader()
{
    static const upkeep::LibcryptoReader reader;
    return &reader;
}
