// Uploads: the file that a staged import waits for.
#include <cstdint>

#include "frame/imports.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "platform/hlib/file.h"

namespace {

const char kSpool[] = "/tmp";
constexpr std::int64_t kTooLittleSpace = (std::int64_t{10} << 20) - 1;  // bytes

}  // namespace

std::string MailvaneHandler::SaveUploadFile(Json::Value& response)
{
    if (!web_.LoadIn(nullptr)) {
        if (HLIBGetFsFreeSize(kSpool) <= kTooLittleSpace) {
            LogError(Here(), "%s doesn't have enough spaces", kSpool);
            SetError(response, "common", "error_no_enough_space");
            return "";
        }

        if (!web_.LoadIn(kSpool)) {
            LogError(Here(), "Failed to save upload file.");
            SetError(response, "user", "user_file_upload_fail");
            return "";
        }
    }

    const char* path = web_.In("upload_file_tmp", nullptr);
    if (path == nullptr) {
        SetError(response, "user", "user_file_upload_fail");
        LogError(Here(), "upload file null");
        return "";
    }
    return path;
}

void MailvaneHandler::ImportUpload(Json::Value& response)
{
    if (!ImportIsStaged()) {
        SetError(response, "common", "error_system");
        LogError(Here(), "import info file not exitst");
        return;
    }

    StagedImport staged;
    if (!ReadStagedImport(staged)) {
        SetError(response, "common", "error_system");
        return;
    }

    const std::string path = SaveUploadFile(response);
    if (path.empty()) return;

    // Deliberate: the client loads the list again and sees what came in; the log tells the rest.
    (void)RunImport(staged, path);
}

void MailvaneHandler::HandleUpload()
{
    // Deliberate: the client tells a failure here by errinfo alone. It is a form's answer in a
    // frame of the page, so it is sent as HTML.
    Json::Value response;
    SetSuccess(response, true);
    ImportUpload(response);
    SendResponseAs(response, "text/html; charset=\"UTF-8\"");
}
