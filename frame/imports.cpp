// Imports of lists and rules from an uploaded file.
#include "frame/imports.h"

#include "frame/log.h"
#include "platform/hlib/process.h"
#include "platform/mailvane/access.h"
#include "platform/mailvane/alias.h"
#include "platform/mailvane/bcc.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/spam.h"

namespace {

const char kMove[] = "/bin/mv";
const char kRules[] = "/var/packages/Mailvane/etc/rules/";

// Deliberate: an access list or a black or white list acts once it is applied, like an entry that
// was added by hand; copies, rules and aliases act at once.

int ImportAccessList(int type, const std::string& path)
{
    Access* access = Access::getInstance();
    if (access == nullptr) return -1;

    if (access->importAccess(static_cast<Type>(type), path) < 0) {
        LogError(Here(), "import access fail");
        return -1;
    }
    return 0;
}

int ImportBlindCopies(int type, const std::string& path)
{
    BCC* bcc = BCC::getInstance();
    if (bcc == nullptr) return -1;

    if (bcc->importBCC(static_cast<BccType>(type), path) < 0) {
        // Deliberate: the same words as for access lists; support searches the log for them.
        LogError(Here(), "import access fail");
        return -1;
    }

    if (BCC::GenerateBccMap() < 0) {
        LogError(Here(), "fail to generate bcc map");
        return -1;
    }
    return 0;
}

int ImportRule(const std::string& name, const std::string& path)
{
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return -1;

    // Not checked: when the file was not moved, enabling the rule fails.
    (void)HLIBCExec(kMove, path.c_str(), (kRules + name).c_str(), nullptr, nullptr);
    (void)spam->enableRule(name);
    if (!spam->isEnableSpamassassin()) return 0;

    if (MailScanner::Service("restart") < 0) {
        LogError(Here(), "fail to restart mailscanner service");
        return -1;
    }
    return 0;
}

int ImportBlackWhiteList(int type, const std::string& path)
{
    Spam* spam = Spam::getInstance();
    if (spam == nullptr) return -1;

    if (spam->importBlackWhite(static_cast<BlackWhiteType>(type), path) < 0) {
        LogError(Here(), "import spam black white fail");
        return -1;
    }
    return 0;
}

int ImportAliases(const std::string& path)
{
    Alias alias;
    int result = 0;
    if (alias.load() < 0) {
        LogError(Here(), "alias load fail");
        result = -1;
    } else if (alias.ImportAlias(path) < 0) {
        LogError(Here(), "alias import fail");
        result = -1;
    }
    // Deliberate: saved in every case, so that the mail server's map is made anew; what was not
    // loaded or imported leaves the stored aliases as they are.
    return alias.save() < 0 ? -1 : result;
}

}  // namespace

int RunImport(const StagedImport& staged, const std::string& path)
{
    if (staged.type == "spam_rule") return ImportRule(staged.ruleName, path);
    if (staged.type == "bcc") return ImportBlindCopies(staged.nameType, path);
    if (staged.type == "access") return ImportAccessList(staged.nameType, path);
    if (staged.type == "spam_blackwhite") return ImportBlackWhiteList(staged.blackWhiteType, path);
    if (staged.type == "alias") return ImportAliases(path);
    return 0;
}
