// Change of the account source: parks the account data of the old combination of account type and
// domain, and brings back what was parked under the new one.
#include "services/account_domain.h"

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "frame/log.h"
#include "frame/service_control.h"
#include "frame/settings_json.h"
#include "platform/hlib/file.h"
#include "platform/hlib/key_value.h"
#include "platform/hlib/process.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/spam.h"

namespace {

const char kBackupDir[] = "/var/packages/Mailvane/target/etc/alias_bkp/";
const char kAliasDatabase[] = "/var/packages/Mailvane/etc/alias.db";
const char kServerDatabase[] = "/var/packages/Mailvane/etc/mailvane.db";
const char kSettingsFile[] = "/var/packages/Mailvane/etc/mailvane.conf";
const char kConfigTool[] = "/var/packages/Mailvane/target/bin/hald_set_config";
const char kAlwaysBccKey[] = "always_bcc";
constexpr int kValueSize = 512;

// `line` is a fixed number in the log, by which support recognizes each failure.

/// Path prefix for the parked data of a combination, for example ".../win_OFFICE".
std::string BackupName(const std::string& type, const std::string& domain)
{
    return kBackupDir + type + "_" + domain;
}

int MakeBackupDir(int line)
{
    if (mkdir(kBackupDir, 0755) < 0 && errno != EEXIST) {
        LogError(line, "mkdir %s fail", kBackupDir);
        return -1;
    }

    return 0;
}

/// Moves a parked file back into use; success when none was parked.
int Restore(const std::string& backup, const char* live, int line)
{
    if (HLIBCFileExist(backup.c_str()) == 0) return 0;

    if (MoveFile(backup, live) < 0) {
        LogError(line, "restore %s fail", backup.c_str());
        return -1;
    }

    return 0;
}

int MoveAliasDatabase(const std::string& oldBackup, const std::string& newBackup)
{
    if (MakeBackupDir(1145) < 0) return -1;

    if (MoveFile(kAliasDatabase, oldBackup) < 0) {
        // Deliberate: the line has always named the server database, and support greps for it.
        LogError(1151, "%s backup to %s fail", kServerDatabase, oldBackup.c_str());
        return -1;
    }

    if (Restore(newBackup, kAliasDatabase, 1157) < 0) return -1;

    if (HLIBCExec(kConfigTool, "alias", nullptr, nullptr, nullptr) < 0) {
        LogError(1164, "Can't re-gent aliases");
        return -1;
    }

    return 0;
}

int MoveServerDatabase(const std::string& oldBackup, const std::string& newBackup)
{
    if (MakeBackupDir(1104) < 0) return -1;

    if (MoveFile(kServerDatabase, oldBackup) < 0) {
        LogError(1110, "%s backup to %s fail", kServerDatabase, oldBackup.c_str());
        return -1;
    }

    if (Restore(newBackup, kServerDatabase, 1116) < 0) return -1;

    if (Spam::GenerateBlackWhite() < 0) {
        LogError(1122, "generate spam black white list fail");
        return -1;
    }

    if (MailScanner::Service("restart") < 0) {
        LogError(1127, "restart mailscanner service fail");
        return -1;
    }

    return 0;
}

/// Reads the always-BCC address from a file; empty, with a line logged, when it cannot be read.
void ReadAlwaysBcc(const char* file, char (&address)[kValueSize], int line)
{
    if (HLIBCFileGetKeyValue(file, kAlwaysBccKey, address, kValueSize, 0) < 0) {
        LogError(line, "get key:%s from %s fail", kAlwaysBccKey, file);
    }
}

int MoveAlwaysBcc(const std::string& oldBackup, const std::string& newBackup)
{
    char oldAddress[kValueSize] = {};
    ReadAlwaysBcc(kSettingsFile, oldAddress, 1073);
    if (HLIBCFileSetKeyValue(oldBackup.c_str(), kAlwaysBccKey, oldAddress, 0) < 0) {
        LogError(1077, "set key: %s to %s fail", kAlwaysBccKey, oldBackup.c_str());
        return -1;
    }

    char newAddress[kValueSize] = {};
    ReadAlwaysBcc(newBackup.c_str(), newAddress, 1083);
    if (HLIBCFileSetKeyValue(kSettingsFile, kAlwaysBccKey, newAddress, 0) < 0) {
        // Deliberate: the line names the backup directory, as support knows it.
        LogError(1087, "set key: %s to %s fail", kAlwaysBccKey, kBackupDir);
        return -1;
    }

    return 0;
}

int SwitchAccount(const std::string& oldName, const std::string& newName)
{
    if (MoveAliasDatabase(oldName, newName) < 0) {
        LogError(1179, "alias db change fail");
        return -1;
    }

    if (MoveServerDatabase(oldName + "_mailvane", newName + "_mailvane") < 0) {
        LogError(1184, "mail server db change fail");
        return -1;
    }

    if (MoveAlwaysBcc(oldName + "_alwaysBCC", newName + "_alwaysBCC") < 0) {
        LogError(1189, "always bcc setting change fail");
        return -1;
    }

    return 0;
}

}  // namespace

int ChangeAccountDomain(const Json::Value& in, Postfix& postfix)
{
    const std::string oldType = Setting<std::string>(postfix, "account_type");
    const std::string oldDomain = Setting<std::string>(postfix, "acc_domain_name");
    const std::string newType = in["account_type"].asString();
    const std::string newDomain = in["acc_domain_name"].asString();
    if (newType == oldType && newDomain == oldDomain) return 0;

    return SwitchAccount(BackupName(oldType, oldDomain), BackupName(newType, newDomain));
}
