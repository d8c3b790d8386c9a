// The files of the mail log: log_enum.
#include <memory>
#include <string>

#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "maillog/log_rows.h"
#include "platform/hlib/file.h"
#include "platform/hlib/string_list.h"

namespace {

constexpr char kLogFolder[] = "/var/packages/Mailvane/target/etc/maillog/";
constexpr char kCurrent[] = "maillog.db";
constexpr char kCompanion[] = "maillog.db.wal";
constexpr int kCapacity = 1024;
constexpr int kMostFiles = 128;

using StringList = std::unique_ptr<HLIBCSzList, decltype(&HLIBCSzListFree)>;

/// File names in the log's folder in ascending order; null, with the failure logged.
StringList FolderNames()
{
    HLIBCSzList* names = HLIBCSzListAlloc(kCapacity);
    if (names == nullptr) {
        LogError(Here(), "out of memory");
        return {nullptr, HLIBCSzListFree};
    }
    const int count = HLIBCFileEnumDir(kLogFolder, 0, &names, kMostFiles);
    StringList list(names, HLIBCSzListFree);
    if (count < 0) {
        LogError(Here(), "enum log fail");
        return {nullptr, HLIBCSzListFree};
    }
    HLIBCSzListSortItems(names, 1);
    return list;
}

Json::Value File(const std::string& name, const std::string& label)
{
    Json::Value file;
    file["value"] = kLogFolder + name;
    file["display"] = label;
    return file;
}

/// The rows of the answer: the current database, then the closed months from the latest on.
Json::Value Files(const HLIBCSzList& names, const Json::Value& texts)
{
    Json::Value files(Json::arrayValue);
    files.append(File(kCurrent, LogText(texts, "current_log")));
    for (int i = names.count - 1; i >= 0; --i) {
        const std::string name = HLIBCSzListGet(&names, i);
        if (name != kCurrent && name != kCompanion) files.append(File(name, name));
    }
    return files;
}

}  // namespace

void MailvaneHandler::EnumLog()
{
    const Json::Value texts = LoadTexts(web_.GetUILanguage());
    const StringList names = FolderNames();
    // Deliberate: no success flag, and null for a failure: the client's selector takes the answer
    // as it is.
    Json::Value response;
    if (names != nullptr) {
        response["items"] = Files(*names, texts);
        response["total"] = static_cast<int>(response["items"].size());
    }
    SendResponse(response);
}
