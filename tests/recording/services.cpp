// The settings of the three services, their saves and their control.
#include <utility>

#include "platform/mailvane/analyzer.h"
#include "platform/mailvane/anti_virus_support.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/rsa_key.h"
#include "platform/mailvane/web_utils.h"
#include "tests/recording/call.h"

using recording::Detail;
using recording::Settings;
using recording::TheWorld;

struct Config::State {
    Settings settings;
};

namespace {

int RunSteps(const std::list<Callback>& steps)
{
    for (const Callback& step : steps) {
        if (step.func(step.arg) < 0) return -1;
    }
    return 0;
}

/// Stores the settings and runs the plan if asked to; a failing step brings the old ones back.
int Save(const std::string& operation, const std::list<Callback>& steps, Settings loaded,
         Settings& stored)
{
    TheWorld().plan = steps;
    const std::string line = operation + " [" + recording::PlanText(steps) + "]";
    const int result = TheWorld().Called(line, false).value_or(0);
    if (result < 0) return result;

    std::swap(stored, loaded);
    if (!TheWorld().runSteps || RunSteps(steps) >= 0) return result;

    std::swap(stored, loaded);
    return -1;
}

}  // namespace

Config::Config() : state_(new State) {}

Config::~Config()
{
    delete state_;
}

void Config::Set(const std::string& name, const boost::any& value)
{
    Detail("Config::Set", name);
    if (boost::any* stored = state_->settings.Find(name)) *stored = value;
}

boost::any& Config::Get(const std::string& name)
{
    Detail("Config::Get", name);
    static boost::any none;
    none.clear();
    boost::any* stored = state_->settings.Find(name);
    return stored != nullptr ? *stored : none;
}

std::list<boost::any> Config::GetKeyList() const
{
    Detail("Config::GetKeyList");
    return state_->settings.Keys();
}

/// Knows `Key<double>` too, the kind that tests use for a key that is not supported.
std::string Config::GetKeyName(const boost::any& key)
{
    if (const auto* number = boost::any_cast<Key<int>>(&key)) return number->name();
    if (const auto* text = boost::any_cast<Key<std::string>>(&key)) return text->name();
    if (const auto* flag = boost::any_cast<Key<bool>>(&key)) return flag->name();
    return boost::any_cast<const Key<double>&>(key).name();
}

Postfix::DNSBL::DNSBL(const std::string& zone, const std::string& kind) : server(zone), type(kind)
{
}

// NOLINTBEGIN(bugprone-macro-parentheses): pieces of a definition.
#define SERVICE(type, stored)                                                            \
    type::type() = default;                                                              \
    type::~type() = default;                                                             \
    DONE(type::LoadSettings, (), (), state_->settings = TheWorld().stored)               \
    int type::SaveSettings(const std::list<Callback>& steps)                             \
    {                                                                                    \
        return Save(#type "::SaveSettings", steps, state_->settings, TheWorld().stored); \
    }                                                                                    \
    NOTED(type::Service, (const std::string& verb), (verb))
// NOLINTEND(bugprone-macro-parentheses)

SERVICE(Postfix, postfix);
GIVEN(std::list<std::string>, Postfix::GetAdditionDomain, (), (), TheWorld().domains);
NOTED(Postfix::AddDomain, (const std::string& domain), (domain));
NOTED(Postfix::DeleteDomain, (const std::string& domain), (domain));
GIVEN(std::list<Postfix::DNSBL>, Postfix::GetDNSBLList, (), (), TheWorld().dnsbls);
NOTED(Postfix::AddDNSBL, (const DNSBL& entry), (entry.server, entry.type));
NOTED(Postfix::DeleteDNSBL, (const DNSBL& entry), (entry.server, entry.type));

SERVICE(ImapPop3, imapPop3);

SERVICE(MailScanner, mailScanner);
NOTED(MailScanner::AntiVirusService, (const std::string& verb), (verb));

Analyzer::Analyzer() = default;
Analyzer::~Analyzer() {}
DONE(Analyzer::Analyze, (std::list<Result> & results), (), results = TheWorld().analysis);

bool IsSupportAntiVirus()
{
    return recording::CallOr(TheWorld().antiVirusSupport ? 1 : 0, "IsSupportAntiVirus") != 0;
}

NOTED(GenerateRSAPrivateKey, (const char* path, unsigned int bits), (path, bits));
DONE(GenerateRSAPublicKey, (const char* privatePath, const char* publicPath),
     (privatePath, publicPath), TheWorld().files[publicPath] = "public key");
DONE(ReadRSAPublicKey, (const char* path, std::string& text), (path), text = TheWorld().publicKey);
NOTED(WebUtils::IsPortConflict, (const char* services, int from, int to), (services, from, to));

std::string StringJoin(const std::list<std::string>& texts, const char* separator)
{
    std::string joined;
    for (const std::string& text : texts) {
        if (&text != &texts.front()) joined += separator;
        joined += text;
    }
    return joined;
}
