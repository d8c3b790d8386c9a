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

    /// Answers the request: refuses strangers, then uploads, then the action by its name. Throws
    /// `std::invalid_argument` for an unknown action.
    void Run() override;
    void PreHook() override;
    void PostHook() override;
    ~MailvaneHandler() noexcept(false) override;

    /// Whether the caller may administer the mail server.
    virtual bool IsAuthorizedAdmin();

    /// Names of the rows of both action tables, in order.
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
    /// Writes the answer with a content type of its own.
    void SendResponseAs(const Json::Value& response, const char* contentType);
    /// Answers any request of a demonstration system.
    void SendDemoRefusal();

private:
    using ReadHandler = void (MailvaneHandler::*)();
    using WriteHandler = void (MailvaneHandler::*)(Json::Value&);

    template <typename Handler>
    struct Row {
        const char* action;
        Handler handler;
    };

    // Both tables stand in action_tables.cpp.
    static const Row<ReadHandler> kReadTable[];
    static const Row<WriteHandler> kWriteTable[];

    void ReadDispatch();
    void WriteDispatch(Json::Value& in);
    void HandleUpload();
    /// Carries out the import that an upload is for; a failure is told in `response`.
    void ImportUpload(Json::Value& response);
    /// Takes the uploaded file in and returns its path; empty, told in `response`, when that fails.
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
};
