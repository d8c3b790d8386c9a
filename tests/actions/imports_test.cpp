// Imports: the staging of one, then the upload that carries it out.
#include <unistd.h>

#include "tests/recording/action_test.h"

using namespace recording;

namespace {

const char kStaged[] = "/tmp/mailvane.import";
const char kDraft[] = "/tmp/mailvane.importxxxxxx";
const char kUploaded[] = "/tmp/upload.1";

using Description = std::map<std::string, std::string>;

class Staging : public ActionTest {};

class Uploads : public ActionTest {
protected:
    void Prepare() override
    {
        world.request.upload = true;
        world.request.uploadPath = kUploaded;
        world.keyValueFiles[kStaged]["import_type"] = "none";
    }

    /// The answer of an upload, whose header is its own, and its message.
    void ExpectAnswer(const std::string& section, const std::string& key)
    {
        Json::Value want = ParseJson(kSuccess);
        if (!section.empty()) {
            want["errinfo"]["sec"] = section;
            want["errinfo"]["key"] = key;
        }
        EXPECT_EQ(Run().output, "[header text/html; charset=\"UTF-8\"]\n" + Compact(want) + "\n");
    }

    /// The calls of an upload of this kind after those that every one makes.
    std::string Import(const Description& description)
    {
        world.keyValueFiles[kStaged] = description;
        ExpectAnswer("", "");
        const std::string calls = world.Calls();
        const std::string loaded = "WebMan::LoadIn null\n";
        return calls.substr(calls.rfind(loaded) + loaded.size());
    }
};

}  // namespace

TEST_F(Staging, DescribesTheImportAndForgetsTheOneBefore)
{
    const struct {
        const char* action;
        const char* body;
        Description want;
    } rows[] = {
        {"import_access", R"({"type": 2})", {{"import_type", "access"}, {"name_type", "2"}}},
        {"import_bcc", "{}", {{"import_type", "bcc"}, {"name_type", "0"}}},
        {"import_bcc",
         R"({"type": -12345678})",
         {{"import_type", "bcc"}, {"name_type", "-123456"}}},
        {"import_spam_rule",
         R"({"rule_name": "../a b"})",
         {{"import_type", "spam_rule"}, {"rule_name", "../a b"}}},
        {"import_spam_blackwhite",
         R"({"blackWhite": 1})",
         {{"import_type", "spam_blackwhite"}, {"blackwhite_type", "1"}}},
        {"import_alias", "{}", {{"import_type", "alias"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.action);
        world.keyValueFiles[kStaged]["left"] = "over";
        EXPECT_EQ(Write(row.action, row.body).output, Answer(kSuccess));
        EXPECT_EQ(world.keyValueFiles[kStaged], row.want);
        EXPECT_EQ(world.keyValueFiles.count(kDraft), 0U);
        NextCase();
    }
}

TEST_F(Staging, ThatCannotBeWrittenLeavesNoDescription)
{
    for (const std::string key : {"import_type", "rule_name"}) {
        world.keyValueFiles[kStaged]["import_type"] = "alias";
        world.Fail(std::string("HLIBCFileSetKeyValue ") + kDraft + " " + key);
        EXPECT_EQ(Write("import_spam_rule").output, SystemError());
        EXPECT_EQ(world.keyValueFiles.count(kStaged), 0U);
        world.ExpectLog("set key: " + key + " fail");
        NextCase();
    }
}

TEST_F(Uploads, NeedADescriptionThatCanBeRead)
{
    const std::string member = "HLIBCFileGetKeyValue /tmp/mailvane.import ";
    for (const std::string key : {"import_type", "name_type", "rule_name", "blackwhite_type"}) {
        world.lastError = 0x2a;
        world.Fail(member + key);
        ExpectAnswer("common", "error_system");
        EXPECT_FALSE(world.HasCalled("WebMan::LoadIn")) << "nobody takes the file";
        world.ExpectLog("HLIBCFileGetKeyValue error, halderr=[0x002A]");
        NextCase();
    }
    world.keyValueFiles.clear();
    ExpectAnswer("common", "error_system");
    EXPECT_FALSE(world.HasCalled("WebMan::LoadIn"));
    world.ExpectLog("import info file not exitst");
}

TEST_F(Uploads, AreSpooledWhenTheyAreLargeAndThereIsRoom)
{
    const struct {
        std::int64_t space;
        bool spoolFails, hasFile;
        const char *section, *key, *log;
    } rows[] = {
        {10485759, false, true, "common", "error_no_enough_space",
         "/tmp doesn't have enough spaces"},
        {10485760, true, true, "user", "user_file_upload_fail", "Failed to save upload file."},
        {10485760, false, false, "user", "user_file_upload_fail", "upload file null"},
        {10485760, false, true, "", "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.log);
        world.Fail("WebMan::LoadIn null");
        world.freeBytes = row.space;
        if (row.spoolFails) world.Fail("WebMan::LoadIn /tmp");
        if (!row.hasFile) world.request.uploadPath.reset();
        ExpectAnswer(row.section, row.key);
        if (*row.log != '\0') world.ExpectLog(row.log);
        NextCase();
    }

    world.request.uploadPath = "";  // a form that was sent without a file
    ExpectAnswer("", "");
}

TEST_F(Uploads, AreImportedAsTheyWereStaged)
{
    const Description access = {{"import_type", "access"}, {"name_type", "2"}};
    const Description copies = {{"import_type", "bcc"}, {"name_type", "1x"}};
    const Description rule = {{"import_type", "spam_rule"}, {"rule_name", "r.cf"}};
    const Description blacks = {{"import_type", "spam_blackwhite"}, {"blackwhite_type", "1"}};
    const std::string move =
        "HLIBCExec /bin/mv /tmp/upload.1 /var/packages/Mailvane/etc/rules/r.cf";
    const struct {
        Description staged;
        std::vector<std::string> calls;  ///< the last of them fails
        const char* log;
    } rows[] = {
        {access, {"Access::getInstance"}, ""},
        {access,
         {"Access::getInstance", "Access::importAccess 2 /tmp/upload.1"},
         "import access fail"},
        {copies, {"BCC::getInstance"}, ""},
        {copies, {"BCC::getInstance", "BCC::importBCC 1 /tmp/upload.1"}, "import access fail"},
        {copies,
         {"BCC::getInstance", "BCC::importBCC 1 /tmp/upload.1", "BCC::GenerateBccMap"},
         "fail to generate bcc map"},
        {rule, {"Spam::getInstance"}, ""},
        {rule,
         {"Spam::getInstance", move, "Spam::enableRule r.cf", "Spam::isEnableSpamassassin",
          "MailScanner::Service restart"},
         "fail to restart mailscanner service"},
        {blacks, {"Spam::getInstance"}, ""},
        {blacks,
         {"Spam::getInstance", "Spam::importBlackWhite 1 /tmp/upload.1"},
         "import spam black white fail"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Lines(row.calls));
        world.spamAssassin = true;
        world.Fail(row.calls.back());
        EXPECT_EQ(Import(row.staged), Lines(row.calls));
        if (*row.log != '\0') world.ExpectLog(row.log);
        NextCase();
    }
    for (const auto& [list, last] : {std::pair{access, "importAccess 2"},
                                     {copies, "GenerateBccMap"},
                                     {blacks, "importBlackWhite 1"}}) {
        const std::string calls = Import(list);
        EXPECT_NE(calls.find(last, calls.rfind("::")), std::string::npos) << calls;
    }
    EXPECT_EQ(Import({{"import_type", "Alias"}}) + Import({{"name_type", "1"}}), "");

    // Whether the move or the switch succeeds makes no difference; without the filter nothing is
    // restarted.
    world.Fail("Spam::enableRule");
    EXPECT_EQ(Import(rule), Lines({"Spam::getInstance", move, "Spam::enableRule r.cf",
                                   "Spam::isEnableSpamassassin"}));
}

TEST_F(Uploads, OfAliasesAreSavedInEveryCase)
{
    const struct {
        const char* fails;
        bool imported;
        const char* log;
    } rows[] = {{"Alias::load", false, "alias load fail"},
                {"Alias::ImportAlias", true, "alias import fail"},
                {"Alias::save", true, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fails);
        world.Fail(row.fails);
        const std::string calls = Import({{"import_type", "alias"}});
        EXPECT_EQ(calls.find("Alias::ImportAlias /tmp/upload.1\n") != std::string::npos,
                  row.imported);
        EXPECT_NE(calls.find("Alias::save\n"), std::string::npos);
        if (*row.log != '\0') world.ExpectLog(row.log);
        NextCase();
    }
}
