// Sender quotas: load_sender_quota, set_sender_quota, delete_sender_quota.
#include <boost/foreach.hpp>
#include <list>

#include "addresses/account_names.h"
#include "addresses/list_filter.h"
#include "frame/mailvane_handler.h"
#include "frame/number_parameter.h"
#include "frame/service_control.h"
#include "frame/settings_json.h"
#include "platform/hlib/accounts.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/sender_quota.h"

namespace {

bool IsAccount(const std::string& login)
{
    char realName[1024] = "";
    return HLIBUserRealNameGet(login.c_str(), realName, sizeof(realName) - 1) >= 0;
}

/// Restarts the mail server, and memcached, which counts the messages, where quotas are enforced.
Outcome RestartServices(Postfix& postfix)
{
    (void)Postfix::Service("restart");
    if (Setting<bool>(postfix, "reject_sasl_sender_rate_exceed")) {
        (void)RunMemcachedScript("restart");
    }
    return Outcome::Success();
}

Outcome ListQuotas(unsigned int start, unsigned int limit, Json::Value& response)
{
    std::list<SenderQuota::Setting> settings;
    const int total = SenderQuota::GetSettingList(settings, start, limit);
    if (total < 0) return Outcome::SystemError();

    Json::Value& items = response["settings"] = Json::Value(Json::arrayValue);
    BOOST_FOREACH (const SenderQuota::Setting& setting, settings) {
        Json::Value item;
        item["sasl_sender"] = setting.sasl_sender;
        item["quota"] = setting.quota;
        items.append(item);
    }
    response["total"] = total;
    return Outcome::Success();
}

Outcome StoreQuota(const Json::Value& in)
{
    const std::string sender = in["sasl_sender"].asString();
    const std::string login = AccountLoginName(sender);
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    if (!IsAccount(login)) return Outcome::Fail("user", "no_such_user");

    const std::string replaced = in["orgSetting"]["sasl_sender"].asString();
    const auto quota = static_cast<unsigned int>(in["quota"].asInt());
    if (in.isMember("orgSetting")) (void)SenderQuota::DeleteList({replaced});
    if (SenderQuota::Set(sender, quota) < 0) return Outcome::SystemError();
    if (SenderQuota::GenerateConfig() < 0) return Outcome::SystemError();

    return RestartServices(postfix);
}

Outcome RemoveQuotas(const Json::Value& in)
{
    Postfix postfix;
    if (postfix.LoadSettings() < 0) return Outcome::SystemError();

    const Json::Value& listed = in["delete_list"];
    std::list<std::string> senders;
    for (Json::ArrayIndex i = 0; i < listed.size(); ++i) senders.push_back(listed[i].asString());
    if (SenderQuota::DeleteList(senders) < 0) return Outcome::SystemError();
    if (SenderQuota::GenerateConfig() < 0) return Outcome::SystemError();

    return RestartServices(postfix);
}

}  // namespace

void MailvaneHandler::LoadSenderQuota()
{
    const auto start = static_cast<unsigned int>(NumberParameter(web_, "start", "0"));
    const auto limit = static_cast<unsigned int>(NumberParameter(web_, "limit", "50"));
    Json::Value response;
    Answer(response, ListQuotas(start, limit, response));
}

void MailvaneHandler::SetSenderQuota(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreQuota(in));
}

void MailvaneHandler::DeleteSenderQuota(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveQuotas(in));
}
