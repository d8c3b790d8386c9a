// The request handler: authorization, choice of the action, answers.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <string>
#include <vector>

#include "frame/outcome.h"
#include "platform/web/server_form_handler.h"

class MailvaneHandler : public ServerFormHandler {
public:
    MailvaneHandler();

    /// Answers the request: refuses callers who are not administrators, then handles an upload,
    /// else the named action. Throws `std::invalid_argument` for an unknown action.
    void Run() override;
    void PreHook() override;
    void PostHook() override;
    ~MailvaneHandler() noexcept(false) override;

    /// Whether the caller may administer the mail server.
    virtual bool IsAuthorizedAdmin();

    /// The names in both action tables, in order.
    static std::vector<std::string> ReadActions();
    static std::vector<std::string> WriteActions();

    /// Sets the success flag.
    void SetSuccess(Json::Value& response, bool success);
    /// Sets the message of a failure.
    void SetError(Json::Value& response, const char* section, const char* key);
    /// Sets the message of a failure and the source line that detected it.
    void SetErrorLine(Json::Value& response, const char* section, const char* key, int line);
    /// Writes the answer with the default header of a JSON answer.
    void SendResponse(const Json::Value& response);
    /// Writes the answer with another content type.
    void SendResponseAs(const Json::Value& response, const char* contentType);
    /// Writes the refusal that a demonstration system answers to every request.
    void SendDemoRefusal();

private:
    using ReadHandler = void (MailvaneHandler::*)();
    using WriteHandler = void (MailvaneHandler::*)(Json::Value&);

    template <typename Handler>
    struct Row {
        const char* action;
        Handler handler;
    };

    // Both tables are in action_tables.cpp.
    static const Row<ReadHandler> kReadTable[];
    static const Row<WriteHandler> kWriteTable[];

    void ReadDispatch();
    void WriteDispatch(Json::Value& in);
    void HandleUpload();
    /// Runs the import that an upload is for; a failure is reported in `response`.
    void ImportUpload(Json::Value& response);
    /// Stores the uploaded file and returns its path; empty, and reported in `response`, on
    /// failure.
    std::string SaveUploadFile(Json::Value& response);

    /// Writes the one answer of an action: its members, its message, its success flag.
    void Answer(Json::Value& response, const Outcome& outcome);

    // frame/
    void ImportAccess(Json::Value& in);
    void ImportBcc(Json::Value& in);
    void ImportSpamRule(Json::Value& in);
    void ImportSpamBlackwhite(Json::Value& in);
    void ImportAlias(Json::Value& in);

    // services/
    void LoadImapPop3();
    void LoadSmtp();
    void LoadRelay();
    void EnumDomain();
    void LoadSecurity();
    void EnumDnsb();
    void CheckMailvane();
    void GenerateDkimKey();
    void SaveImapPop3(Json::Value& in);
    void SaveSmtp(Json::Value& in);
    void SaveRelay(Json::Value& in);
    void DeleteDomain(Json::Value& in);
    void AddDomain(Json::Value& in);
    void EditDomain(Json::Value& in);
    void SaveSecurity(Json::Value& in);
    void AddDnsb(Json::Value& in);
    void EditDnsb(Json::Value& in);
    void DelDnsb(Json::Value& in);

    // addresses/
    void EnumAliases();
    void EnumAliasMembers();
    void LoadExtaddr();
    void ExportAlias();
    void LoadAccess();
    void LoadBcc();
    void LoadSenderQuota();
    void ExportAccess();
    void ExportBcc();
    void ApplyAccessSetting();
    void LoadAttachmentFilter();
    void ApplyAliasInfo(Json::Value& in);
    void AliasDel(Json::Value& in);
    void DeleteAccess(Json::Value& in);
    void AddAccess(Json::Value& in);
    void EditAccess(Json::Value& in);
    void DeleteBcc(Json::Value& in);
    void AddBcc(Json::Value& in);
    void EditBcc(Json::Value& in);
    void SetSenderQuota(Json::Value& in);
    void DeleteSenderQuota(Json::Value& in);
    void SetAttachmentFilter(Json::Value& in);

    // filtering/
    void LoadSpamConfig();
    void LoadSpamRules();
    void LoadSpamBlackwhite();
    void LoadAdvAntiSpam();
    void ExportRule();
    void FreshClam();
    void CheckVirusStatus();
    void ExportSpamBlackwhite();
    void ApplySpamBlackwhite();
    void SaveSpamConfig(Json::Value& in);
    void SaveSpamRules(Json::Value& in);
    void DeleteRules(Json::Value& in);
    void AddSpamBlackwhiteList(Json::Value& in);
    void EditSpamBlackwhiteList(Json::Value& in);
    void DeleteSpamBlackwhiteList(Json::Value& in);
    void SaveAdvanceAntiSpam(Json::Value& in);

    // maillog/
    void LoadOverview();
    void LoadLog();
    void ExportLog();
    void SearchLog();
    void EnumLog();
    void ExportPostfixLog();
    void ClearLog(Json::Value& in);

    // personal/
    void LoadPersonal();
    void GetAccountType();
    void LoadReport();
    void LoadReplyList();
    void SavePersonal(Json::Value& in);
    void SaveReport(Json::Value& in);
    void SetReplySetting(Json::Value& in);
    void DeleteReplySetting(Json::Value& in);
};
