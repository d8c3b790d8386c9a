// The machine that the program runs on in a test: what the request is, what every operation of the
// platform answers, and what the program did. One object per process, fresh for every test.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/mailvane/access.h"
#include "platform/mailvane/alias.h"
#include "platform/mailvane/analyzer.h"
#include "platform/mailvane/bcc.h"
#include "platform/mailvane/mail_log.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/reporter.h"
#include "platform/mailvane/sender_quota.h"
#include "platform/mailvane/spam.h"
#include "tests/recording/settings.h"

namespace recording {

/// The request as the web framework shows it to the program.
struct Request {
    bool authorized = true;
    bool upload = false;
    std::map<std::string, std::string> parameters;
    std::optional<Json::Value> body;
    std::optional<std::string> uploadPath;  ///< "upload_file_tmp" once the upload is loaded
    std::optional<std::string> loginName = "admin";
    std::string language = "en";
};

/// One account or group and the source that enumerates it.
struct Account {
    std::string name;
    int source = 1;  ///< HLIB_ACCOUNT_...
    std::string realName;
    bool expired = false;
    std::optional<std::string> ownName;  ///< of the looked-up record, when it differs from `name`
    bool hasOwnName = true;              ///< false for a record without a name
};
struct Group {
    std::string name;
    int source = 1;
    std::list<std::string> members;
};

/// Subject and text of an automatic reply.
using ReplyText = std::pair<std::string, std::string>;

/// The personal settings of one user.
struct PersonalData {
    bool valid = true;
    std::string errKey;
    bool forward = false;
    std::string forwardAddr;
    bool keepCopy = false;
    bool reply = false;
    long replyBegin = 0;
    long replyEnd = 0;
    ReplyText generalReply;
    std::map<std::string, ReplyText> senderReplies;
};

/// The settings of the report.
struct ReportData {
    bool enabled = false;
    std::string rcpt;
    Reporter::Sender sender;
    Reporter::Time time;
    Reporter::SMTP smtp;
};

/// What the machine holds: the program reads it through the platform, and settings and files that
/// it stores arrive here. Lists are given out whole; their changes, paging and searching are noted
/// in the journal.
struct Machine {
    Settings postfix = DefaultPostfix();
    Settings imapPop3 = DefaultImapPop3();
    Settings mailScanner = DefaultMailScanner();
    std::list<std::string> domains;
    std::list<Postfix::DNSBL> dnsbls;

    /// Key-value files by path, other files with their contents, directories.
    std::map<std::string, std::map<std::string, std::string>> keyValueFiles;
    std::map<std::string, std::string> files;
    std::set<std::string> directories;
    std::map<std::string, std::list<std::string>> listings;  ///< of `HLIBCFileEnumDir`
    std::set<std::string> livePidFiles;
    std::int64_t freeBytes = std::int64_t{1} << 40;

    std::list<Account> users;
    std::list<Group> groups;
    std::set<std::string> enabledServices;
    bool domainJoined = false;
    std::optional<std::string> ldapSuffix;  ///< bound to an LDAP directory when set

    std::vector<std::pair<std::string, std::list<MemberInfo>>> aliases;
    std::list<AccessInfo> access;
    std::list<BccInfo> bcc;
    std::string alwaysBcc;
    std::list<SenderQuota::Setting> quotas;
    std::list<std::string> attachmentTypes;
    std::list<SpamRule> spamRules;
    std::map<std::string, std::string> rulePaths;
    bool spamAssassin = false;
    std::list<BlackWhite> blackWhite;
    std::string exportText;  ///< what every list export writes
    bool antiVirusSupport = true;

    std::vector<MailLogInfo> logRows;
    Statistic statistic;
    std::string postfixLogPath;
    std::list<Analyzer::Result> analysis;
    std::map<std::string, PersonalData> personal;
    ReportData report;
    std::string publicKey;
    Json::Value texts;
};

class World : public Machine {
public:
    /// Runs instead of an operation and gives its result; may throw.
    using Effect = std::function<int()>;
    static constexpr int kEveryCall = 0;

    World() { Reset(); }

    /// Forgets everything: the request, the machine, scripts, journal, log.
    void Reset();

    Request request;

    /// `SaveSettings` runs the steps of its plan.
    bool runSteps = false;
    /// The journal takes the calls of the frame (request object, handler), reads and changes of
    /// single settings, and log lines as well.
    bool journalAll = false;

    /// Scripts a call. `call` is the start of its journal line, up to a blank or the end: the name
    /// of an operation, with as many arguments as it takes to tell the calls apart. `nth` counts
    /// the calls that match, from 1.
    void On(const std::string& call, Effect effect, int nth = kEveryCall);
    void Return(const std::string& call, int result, int nth = kEveryCall);
    void Fail(const std::string& call, int nth = kEveryCall) { Return(call, -1, nth); }
    /// Fails with an error number.
    void FailWith(const std::string& call, int error, int nth = kEveryCall);

    /// The calls so far, one a line; `Lines` makes the text to compare with.
    std::string Calls() const;
    /// Whether a call like this was made; whether it was the last one. Named as `On` takes them.
    bool HasCalled(const std::string& call) const;
    bool LastCallIs(const std::string& call) const;
    /// The plan of the last save.
    std::list<Callback> plan;

    /// Takes the first log line out and returns it; "" when there is none.
    std::string TakeLog();
    /// Takes the first log line out; it must be this text, after "mailvane:<any number> ".
    void ExpectLog(const std::string& text);
    /// A line with its number.
    void ExpectLog(int line, const std::string& text);
    bool LogIsEmpty() const { return log_.empty(); }

    /// Fails the test for log lines that it did not expect, scripts that no call met, calls of the
    /// request lock, and lists and records that were not freed.
    void ExpectNothingLeft();

    // The platform's side.

    /// Notes a call; its scripted result, if it has one. A detail is noted with `journalAll` only.
    std::optional<int> Called(const std::string& line, bool detail);
    void Logged(int priority, const std::string& text);
    /// Whether a file, of any kind, exists.
    bool Exists(const std::string& path) const;
    /// Moves a file of the machine; false when there is none.
    bool Move(const std::string& from, const std::string& to);

    std::set<Access*> accessObjects;                    ///< handed out and not deleted
    std::map<std::string, std::string> temporaryNames;  ///< made by mkstemp, to their templates
    int liveObjects = 0;                                ///< lists, hashes and records not freed
    int lastError = 0;                                  ///< of `HLIBCErrGet`

private:
    struct Script {
        std::string call;
        Effect effect;
        int nth;
        int matches;
        bool used;
    };

    std::vector<Script> scripts_;
    std::vector<std::string> journal_;
    std::vector<std::string> log_;
    int lockCalls_ = 0;
};

World& TheWorld();

/// The lines of a journal as one text.
std::string Lines(const std::vector<std::string>& lines);

/// A plan as text: "label:argument, label:argument". A step that runs another function than its
/// label says is marked with "!".
std::string PlanText(const std::list<Callback>& steps);

}  // namespace recording
