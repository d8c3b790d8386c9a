// Staging of imports: import_access, import_bcc, import_spam_rule, import_spam_blackwhite,
// import_alias. Each describes the file that the next request uploads.
#include "frame/import_staging.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "platform/hlib/error.h"
#include "platform/hlib/file.h"
#include "platform/hlib/key_value.h"

namespace {

const char kDescription[] = "/tmp/mailvane.import";
const char kTypeKey[] = "import_type";
const char kNameTypeKey[] = "name_type";
const char kRuleNameKey[] = "rule_name";
const char kBlackWhiteKey[] = "blackwhite_type";
constexpr int kValueSize = 512;  // bytes, with the end

/// One more key of the description, for example the name of the rule to import.
struct Detail {
    const char* key;
    std::string value;
};

/// A number as text, cut to the seven characters that the field of the description holds.
std::string NumberText(int number)
{
    constexpr std::size_t kLongest = 7;
    return std::to_string(number).substr(0, kLongest);
}

bool SetKey(const std::string& file, const char* key, const std::string& value)
{
    if (HLIBCFileSetKeyValue(file.c_str(), key, value.c_str(), 0) >= 0) return true;

    LogError(Here(), "set key: %s fail", key);
    return false;
}

Outcome Stage(const char* type, const Detail* detail)
{
    // Deliberate: small letters make no pattern, so the name is taken as it stands. The file
    // belongs to the one import that can be under way.
    const std::string file = NewTemporaryFile("/tmp/mailvane.importxxxxxx");
    (void)unlink(kDescription);
    if (!SetKey(file, kTypeKey, type)) return Outcome::SystemError();
    if (detail != nullptr && !SetKey(file, detail->key, detail->value)) {
        return Outcome::SystemError();
    }

    // Ignored: when it fails there is no description, and the upload reports that.
    (void)std::rename(file.c_str(), kDescription);
    return Outcome::Success();
}

Outcome StageNumber(const char* type, const char* key, const Json::Value& number)
{
    const Detail detail = {key, NumberText(number.asInt())};
    return Stage(type, &detail);
}

Outcome StageRule(const Json::Value& in)
{
    const Detail detail = {kRuleNameKey, in["rule_name"].asString()};
    return Stage("spam_rule", &detail);
}

using KeyValue = std::array<char, kValueSize>;

bool ReadKey(const char* key, KeyValue& value)
{
    if (HLIBCFileGetKeyValue(kDescription, key, value.data(), kValueSize, 0) >= 0) return true;

    LogError(Here(), "HLIBCFileGetKeyValue error, halderr=[0x%04X]",
             static_cast<unsigned>(HLIBCErrGet()));
    return false;
}

int Number(const KeyValue& text)
{
    return static_cast<int>(std::strtol(text.data(), nullptr, 10));
}

}  // namespace

bool ImportIsStaged()
{
    return HLIBCFileExist(kDescription) != 0;
}

bool ReadStagedImport(StagedImport& staged)
{
    KeyValue type{};
    KeyValue nameType{};
    KeyValue ruleName{};
    KeyValue blackWhite{};
    if (!ReadKey(kTypeKey, type) || !ReadKey(kNameTypeKey, nameType) ||
        !ReadKey(kRuleNameKey, ruleName) || !ReadKey(kBlackWhiteKey, blackWhite)) {
        return false;
    }
    staged = {type.data(), Number(nameType), ruleName.data(), Number(blackWhite)};
    return true;
}

void MailvaneHandler::ImportAccess(Json::Value& in)
{
    const Json::Value& body = in;
    Json::Value response;
    Answer(response, StageNumber("access", kNameTypeKey, body["type"]));
}

void MailvaneHandler::ImportBcc(Json::Value& in)
{
    const Json::Value& body = in;
    Json::Value response;
    Answer(response, StageNumber("bcc", kNameTypeKey, body["type"]));
}

void MailvaneHandler::ImportSpamRule(Json::Value& in)
{
    Json::Value response;
    Answer(response, StageRule(in));
}

void MailvaneHandler::ImportSpamBlackwhite(Json::Value& in)
{
    const Json::Value& body = in;
    Json::Value response;
    Answer(response, StageNumber("spam_blackwhite", kBlackWhiteKey, body["blackWhite"]));
}

void MailvaneHandler::ImportAlias(Json::Value& /*in*/)
{
    Json::Value response;
    Answer(response, Stage("alias", nullptr));
}
