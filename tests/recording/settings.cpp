// The settings of one service as a test scripts them.
#include "tests/recording/settings.h"

#include <gtest/gtest.h>

#include "tests/recording/json_text.h"

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

boost::any ValueOf(const Json::Value& value)
{
    if (value.isBool()) return Value<bool>(value.asBool());
    if (value.isString()) return Value<std::string>(value.asString());
    return Value<int>(value.asInt());
}

boost::any KeyOf(const std::string& name, const Json::Value& value)
{
    if (value.isBool()) return Key<bool>(name);
    if (value.isString()) return Key<std::string>(name);
    return Key<int>(name);
}

}  // namespace

Settings::Settings(const std::string& text)
{
    const Json::Value members = ParseJson(text);
    for (const std::string& name : members.getMemberNames()) {
        entries_.push_back({name, KeyOf(name, members[name]), ValueOf(members[name])});
    }
}

void Settings::Set(const Json::Value& members)
{
    for (const std::string& name : members.getMemberNames()) {
        boost::any* value = Find(name);
        if (value == nullptr) {
            ADD_FAILURE() << "no such setting: " << name;
            continue;
        }
        *value = ValueOf(members[name]);
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
    return Settings(R"({
        "smtp_enabled": false, "smtp_port": 25, "smtp_ssl_enabled": false, "smtps_port": 465,
        "smtp_tls_enabled": false, "smtp_tls_port": 587, "smtp_auth_required": true,
        "restrict_sender": false, "account_type": "local", "acc_domain_name": "example.com",
        "win_domain_short_name": "", "smtp_hostname": "mail.example.com",
        "message_size_limit_mb": 10, "smtp_relay_enabled": false, "smtp_relay_server": "",
        "smtp_relay_port": 25, "smtp_relay_tls": false, "smtp_relay_auth": false,
        "smtp_relay_account": "", "smtp_relay_password": "stored-secret",
        "spam_dnsbl_enable": false, "enable_spf_check": false, "reject_spf_soft_fail": false,
        "enable_dkim": false, "dkim_selector": "default", "enable_dmarc": false,
        "reject_sasl_sender_rate_exceed": false, "smtpd_sasl_sender_rate_limit": 100,
        "reject_unknown_sender_domain": false, "reject_non_fqdn_sender": false,
        "reject_unknown_client_hostname": false, "reject_unauth_pipelining": false,
        "require_helo": false, "reject_invalid_helo": false, "client_connection_rate_limit": 0,
        "client_message_rate_limit": 0, "recipient_limit": 1000})");
}

Settings DefaultImapPop3()
{
    return Settings(R"({
        "imap_enabled": true, "imap_port": 143, "imaps_enabled": true, "imaps_port": 993,
        "pop3_enabled": false, "pop3_port": 110, "pop3s_enabled": false, "pop3s_port": 995,
        "max_user_connections": 10, "plaintext_auth": false})");
}

Settings DefaultMailScanner()
{
    return Settings(R"({
        "anti_virus_enable": false, "spam_enable": false, "enable_dangerous_content_scan": false,
        "spam_tag_score": 5, "spam_reject_score": 15, "spam_subject_tag": "",
        "spam_action": "tag", "virus_action": "reject", "spam_bayes": false})");
}

}  // namespace recording
