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

using namespace recording;

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
    const std::string line = operation + " [" + PlanText(steps) + "]";
    const int result = TheWorld().Called(line, false).value_or(0);
    if (result < 0) return result;

    std::swap(stored, loaded);
    if (!TheWorld().runSteps || RunSteps(steps) >= 0) return result;

    std::swap(stored, loaded);
    return -1;
}

}  // namespace

Config::Config() : state_(new State) {}

Config::~Config() { delete state_; }

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

Postfix::Postfix() = default;
Postfix::~Postfix() = default;
int Postfix::LoadSettings()
{
    return Fill(state_->settings, TheWorld().postfix, Call("Postfix::LoadSettings"));
}
int Postfix::SaveSettings(const std::list<Callback>& steps)
{
    return Save("Postfix::SaveSettings", steps, state_->settings, TheWorld().postfix);
}
int Postfix::Service(const std::string& verb) { return Call("Postfix::Service", verb); }
std::list<std::string> Postfix::GetAdditionDomain()
{
    return Given(TheWorld().domains, "Postfix::GetAdditionDomain");
}
int Postfix::AddDomain(const std::string& domain) { return Call("Postfix::AddDomain", domain); }
int Postfix::DeleteDomain(const std::string& domain)
{
    return Call("Postfix::DeleteDomain", domain);
}
std::list<Postfix::DNSBL> Postfix::GetDNSBLList()
{
    return Given(TheWorld().dnsbls, "Postfix::GetDNSBLList");
}
int Postfix::AddDNSBL(const DNSBL& entry)
{
    return Call("Postfix::AddDNSBL", entry.server, entry.type);
}
int Postfix::DeleteDNSBL(const DNSBL& entry)
{
    return Call("Postfix::DeleteDNSBL", entry.server, entry.type);
}

ImapPop3::ImapPop3() = default;
ImapPop3::~ImapPop3() = default;
int ImapPop3::LoadSettings()
{
    return Fill(state_->settings, TheWorld().imapPop3, Call("ImapPop3::LoadSettings"));
}
int ImapPop3::SaveSettings(const std::list<Callback>& steps)
{
    return Save("ImapPop3::SaveSettings", steps, state_->settings, TheWorld().imapPop3);
}
int ImapPop3::Service(const std::string& verb) { return Call("ImapPop3::Service", verb); }

MailScanner::MailScanner() = default;
MailScanner::~MailScanner() = default;
int MailScanner::LoadSettings()
{
    return Fill(state_->settings, TheWorld().mailScanner, Call("MailScanner::LoadSettings"));
}
int MailScanner::SaveSettings(const std::list<Callback>& steps)
{
    return Save("MailScanner::SaveSettings", steps, state_->settings, TheWorld().mailScanner);
}
int MailScanner::Service(const std::string& verb) { return Call("MailScanner::Service", verb); }
int MailScanner::AntiVirusService(const std::string& verb)
{
    return Call("MailScanner::AntiVirusService", verb);
}

Analyzer::Analyzer() = default;
Analyzer::~Analyzer() {}
int Analyzer::Analyze(std::list<Result>& results)
{
    return Fill(results, TheWorld().analysis, Call("Analyzer::Analyze"));
}

bool IsSupportAntiVirus()
{
    return CallOr(TheWorld().antiVirusSupport ? 1 : 0, "IsSupportAntiVirus") != 0;
}

int GenerateRSAPrivateKey(const char* path, unsigned int bits)
{
    return Call("GenerateRSAPrivateKey", path, bits);
}
int GenerateRSAPublicKey(const char* privatePath, const char* publicPath)
{
    const int result = Call("GenerateRSAPublicKey", privatePath, publicPath);
    if (result >= 0) TheWorld().files[publicPath] = "public key";
    return result;
}
int ReadRSAPublicKey(const char* path, std::string& text)
{
    return Fill(text, TheWorld().publicKey, Call("ReadRSAPublicKey", path));
}
int WebUtils::IsPortConflict(const char* services, int from, int to)
{
    return Call("WebUtils::IsPortConflict", services, from, to);
}

std::string StringJoin(const std::list<std::string>& texts, const char* separator)
{
    std::string joined;
    for (const std::string& text : texts) {
        if (&text != &texts.front()) joined += separator;
        joined += text;
    }
    return joined;
}
