// Fuzz target: names, addresses, lines of rules, key-value files, and what is made of texts for
// other programs. Nothing that is accepted may mean more to those than it did to the check.
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/names/spam_rule_text.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/render/personal_script.h"
#include "tests/fuzz/fuzz.h"
#include "tools/attachment_names/names.h"
#include "tools/from_check/authors.h"
#include "tools/rate_policy/counters.h"

namespace {

using namespace host::names;

bool HoldsControl(const std::string& text)
{
    for (const char c : text) {
        if (host::IsControl(c)) return true;
    }
    return false;
}

void TryNames(const std::string& text)
{
    for (const auto accepts :
         {IsPlainText, IsLabel, IsHostName, IsHostNameOrEmpty, IsDomain, IsBlocklistType,
          IsRelayAccount, IsHostOrAddressOrEmpty, IsShortDomainOrEmpty, IsMailAddress,
          IsFullAddress, IsLocalPart, IsRuleSetName}) {
        fuzz::Expect(!accepts(text) || !HoldsControl(text));
    }
    for (int type = 0; type < 5; ++type) {
        fuzz::Expect(!CheckMember({text, type}) || !HoldsControl(text));
    }
}

void TryListNames(const std::string& text)
{
    for (const NameType kind :
         {NAME_ADDRESS, NAME_DOMAIN, NAME_DOMAIN_TREE, NAME_IP, NAME_NETWORK}) {
        const auto stored = StoredName(kind, text);
        if (!stored) continue;
        fuzz::Expect(StoredName(kind, *stored) == stored);
        fuzz::Expect(KindInText(NameInText(kind, *stored)) == kind);
        for (const std::string& key : AccessKeys(kind, *stored)) {
            fuzz::Expect(!key.empty() && !HoldsControl(key) && key.find(' ') == std::string::npos);
        }
    }
}

/// What is taken of a rule file is taken again as it is.
void TryRules(const std::string& text)
{
    const auto rules = ReadRuleFile(fuzz::NewFile("rules", text));
    if (!rules) return;
    const auto again = ReadRuleFile(fuzz::NewFile("rules", *rules));
    fuzz::Expect(again && *again == *rules);
}

/// A value comes back as it was set, and changes no other.
void TryKeyValues(const std::string& text)
{
    auto file = host::KeyValueFile::Parse(text);
    fuzz::Expect(file.Text() == text);
    const auto before = file.Values();
    const std::size_t equals = std::min(text.find('='), text.size());
    const std::string key = text.substr(0, equals);
    const std::string value = text.substr(std::min(equals + 1, text.size()));
    const bool set = file.Set(key, value);
    fuzz::Expect(set || file.Text() == text);
    if (set) fuzz::Expect(host::KeyValueFile::Parse(file.Text()).Get(key) == value);
    for (const auto& [name, old] : before) {
        fuzz::Expect((set && name == key) || file.Get(name) == old);
    }
    file.Remove(key);
    fuzz::Expect(!file.Get(key));
}

/// A Sieve script with nothing between its quotes.
std::string Bones(const std::string& script)
{
    std::string bones;
    bool quoted = false;
    for (std::size_t at = 0; at < script.size(); ++at) {
        if (quoted && script[at] == '\\')
            ++at;
        else if (script[at] == '"')
            quoted = !quoted;
        else if (!quoted)
            bones += script[at];
    }
    return quoted ? "a string without end" : bones;
}

std::string ScriptWith(const host::stores::Reply& reply)
{
    host::stores::PersonalSettings settings;
    settings.forward = settings.reply = true;
    settings.forwardAddress = reply.message;
    settings.generalReply = reply;
    settings.senderReplies = {{reply.message, reply}};
    return host::render::RenderPersonalScript(settings);
}

/// Whatever a reply says, the script around it is the same.
void TryScript(const std::string& text)
{
    static const std::string plain = Bones(ScriptWith({"subject", "message"}));
    const auto reply = host::stores::StorableReply(text, text);
    if (reply && !reply->subject.empty()) fuzz::Expect(Bones(ScriptWith(*reply)) == plain);
}

void TryKeys(const std::string& text)
{
    const std::string key = rate_policy::Counters::KeyOf(text);
    fuzz::Expect(key.size() <= 250 && !HoldsControl(key) && key.find(' ') == std::string::npos);
    fuzz::Expect(!HoldsControl(from_check::DomainOfAuthors(text)));
}

/// Whatever else stands in a header, the name of an attachment is seen.
void TryAttachment(const std::string& text)
{
    const std::string header = "Content-Disposition: attachment; filename=run.exe; ";
    fuzz::Expect(!attachment_names::Refusal(header + text, {"exe"}).empty());
    (void)attachment_names::Refusal(text, {"exe", "tar.gz"});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(fuzz::Text(data, size));
    TryNames(text);
    TryListNames(text);
    TryRules(text);
    TryKeyValues(text);
    TryScript(text);
    TryKeys(text);
    TryAttachment(text);
    return 0;
}
