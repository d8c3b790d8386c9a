// The settings of one service as a test scripts them.
#include "tests/recording/settings.h"

#include <gtest/gtest.h>

#include <utility>

namespace recording {

namespace {

template <typename T>
bool Holds(const boost::any& key)
{
    return boost::any_cast<Key<T>>(&key) != nullptr;
}

template <typename T>
const T& Get(const boost::any& value)
{
    return boost::any_cast<const Value<T>&>(value).get();
}

}  // namespace

Settings& Settings::AddRaw(const std::string& name, boost::any key, boost::any value)
{
    entries_.push_back({name, std::move(key), std::move(value)});
    return *this;
}

void Settings::Set(const Json::Value& members)
{
    for (const std::string& name : members.getMemberNames()) {
        boost::any* value = Find(name);
        if (value == nullptr) {
            ADD_FAILURE() << "no such setting: " << name;
            continue;
        }
        const Json::Value& wanted = members[name];
        if (wanted.isBool()) {
            *value = Value<bool>(wanted.asBool());
        } else if (wanted.isString()) {
            *value = Value<std::string>(wanted.asString());
        } else {
            *value = Value<int>(wanted.asInt());
        }
    }
}

Json::Value Settings::ToJson() const
{
    Json::Value out(Json::objectValue);
    for (const Entry& entry : entries_) {
        if (Holds<int>(entry.key)) out[entry.name] = Get<int>(entry.value);
        if (Holds<bool>(entry.key)) out[entry.name] = Get<bool>(entry.value);
        if (Holds<std::string>(entry.key)) out[entry.name] = Get<std::string>(entry.value);
    }
    return out;
}

boost::any* Settings::Find(const std::string& name)
{
    for (Entry& entry : entries_) {
        if (entry.name == name) return &entry.value;
    }
    return nullptr;
}

std::list<boost::any> Settings::Keys() const
{
    std::list<boost::any> keys;
    for (const Entry& entry : entries_) keys.push_back(entry.key);
    return keys;
}

Settings DefaultPostfix()
{
    Settings settings;
    settings.Add("smtp_enabled", false).Add("smtp_port", 25);
    settings.Add("smtp_ssl_enabled", false).Add("smtps_port", 465);
    settings.Add("smtp_tls_enabled", false).Add("smtp_tls_port", 587);
    settings.Add("smtp_auth_required", true).Add("restrict_sender", false);
    settings.Add<std::string>("account_type", "local");
    settings.Add<std::string>("acc_domain_name", "example.com");
    settings.Add<std::string>("win_domain_short_name", "");
    settings.Add<std::string>("smtp_hostname", "mail.example.com");
    settings.Add("message_size_limit_mb", 10);

    settings.Add("smtp_relay_enabled", false).Add<std::string>("smtp_relay_server", "");
    settings.Add("smtp_relay_port", 25).Add("smtp_relay_tls", false).Add("smtp_relay_auth", false);
    settings.Add<std::string>("smtp_relay_account", "");
    settings.Add<std::string>("smtp_relay_password", "stored-secret");

    settings.Add("spam_dnsbl_enable", false).Add("enable_spf_check", false);
    settings.Add("reject_spf_soft_fail", false).Add("enable_dkim", false);
    settings.Add<std::string>("dkim_selector", "default").Add("enable_dmarc", false);
    settings.Add("reject_sasl_sender_rate_exceed", false).Add("smtpd_sasl_sender_rate_limit", 100);

    settings.Add("reject_unknown_sender_domain", false).Add("reject_non_fqdn_sender", false);
    settings.Add("reject_unknown_client_hostname", false).Add("reject_unauth_pipelining", false);
    settings.Add("require_helo", false).Add("reject_invalid_helo", false);
    settings.Add("client_connection_rate_limit", 0).Add("client_message_rate_limit", 0);
    settings.Add("recipient_limit", 1000);
    return settings;
}

Settings DefaultImapPop3()
{
    Settings settings;
    settings.Add("imap_enabled", true).Add("imap_port", 143);
    settings.Add("imaps_enabled", true).Add("imaps_port", 993);
    settings.Add("pop3_enabled", false).Add("pop3_port", 110);
    settings.Add("pop3s_enabled", false).Add("pop3s_port", 995);
    settings.Add("max_user_connections", 10).Add("plaintext_auth", false);
    return settings;
}

Settings DefaultMailScanner()
{
    Settings settings;
    settings.Add("anti_virus_enable", false).Add("spam_enable", false);
    settings.Add("enable_dangerous_content_scan", false);
    settings.Add("spam_tag_score", 5).Add("spam_reject_score", 15);
    settings.Add<std::string>("spam_subject_tag", "").Add<std::string>("spam_action", "tag");
    settings.Add<std::string>("virus_action", "reject").Add("spam_bayes", false);
    return settings;
}

}  // namespace recording
