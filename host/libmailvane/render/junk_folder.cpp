// The folder for spam in the mailboxes. Who moves a message there or takes it out teaches the spam
// filter: Dovecot runs a script of ours, which hands the message to target/scripts/learn.sh.
#include "host/libmailvane/render/junk_folder.h"

#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemons.h"

namespace host::render {

namespace {

const char kFolder[] = R"(namespace inbox {
  mailbox Junk {
    special_use = \Junk
    auto = subscribe
  }
}
)";

const char kFileJunk[] = "dovecot/file_junk.sieve";
const char kLearnSpam[] = "dovecot/learn_spam.sieve";
const char kLearnSpamText[] = R"(require ["copy", "vnd.dovecot.pipe"];
pipe :copy :try "spam";
)";

/// Who throws spam away does not call it good mail.
const char kLearnHam[] = "dovecot/learn_ham.sieve";
const char kLearnHamText[] = R"(require ["copy", "environment", "imapsieve", "vnd.dovecot.pipe"];
if not environment :is "imap.mailbox" "Trash" {
    pipe :copy :try "ham";
}
)";

/// The folder of the sockets on which messages are taken, by kind. Only mailbox processes enter it.
const char kSockets[] = "/run/mailvane/learn";

std::string InForce(const char* script)
{
    return generation::GeneratedDirectory() + "/current/" + script;
}

/// Runs after a user's own script, unless that has put the message somewhere. What the checker of
/// DMARC says is not read where somebody else has written it.
std::string FileJunkText(const settings::StoredSettings& settings)
{
    const std::string failed = settings.Text("smtp_hostname") + "; dmarc=fail (p=";
    return "require [\"fileinto\", \"mailbox\"];\n"
           "if anyof (header :is \"X-Spam-Flag\" \"YES\",\n"
           "          header :matches \"Authentication-Results\"\n"
           "              [\"" +
           failed + "quarantine *\", \"" + failed +
           "reject *\"]) {\n    fileinto :create \"Junk\";\n}\n";
}

/// The service that takes a message of a kind, from processes of mail users alone. One runs at a
/// time.
std::string LearnService(const std::string& kind)
{
    return "service mailvane-learn-" + kind + " {\n  executable = script " +
           PackagePath("target/scripts/learn.sh") + " " + kind +
           "\n  user = " + std::string(daemons::kScanner.user) +
           "\n  process_limit = 1\n  unix_listener " + kSockets + "/" + kind +
           " {\n    mode = 0660\n    group = mailvane-learn\n  }\n}\n";
}

std::string LearningText()
{
    return "mail_access_groups = mailvane-learn\n"
           "protocol imap {\n  mail_plugins = $mail_plugins imap_sieve\n}\n"
           "plugin {\n"
           "  sieve_plugins = sieve_imapsieve sieve_extprograms\n"
           "  sieve_global_extensions = +vnd.dovecot.pipe\n"
           // Seen from /run/dovecot.
           "  sieve_pipe_socket_dir = ../mailvane/learn\n"
           "  imapsieve_mailbox1_name = Junk\n"
           "  imapsieve_mailbox1_causes = COPY\n"
           "  imapsieve_mailbox1_before = file:" +
           InForce(kLearnSpam) +
           "\n  imapsieve_mailbox2_name = *\n"
           "  imapsieve_mailbox2_from = Junk\n"
           "  imapsieve_mailbox2_causes = COPY\n"
           "  imapsieve_mailbox2_before = file:" +
           InForce(kLearnHam) + "\n}\n" + LearnService("spam") + LearnService("ham");
}

bool FilesJunk(const settings::StoredSettings& settings, const RenderContext& context)
{
    // Who fetches mail by POP3 never sees another folder than the inbox.
    return context.filesJunk && !settings.Bool("pop3_enabled") && !settings.Bool("pop3s_enabled");
}

}  // namespace

std::string JunkFolderText(const settings::StoredSettings& settings, const RenderContext& context)
{
    const bool files = FilesJunk(settings, context);
    std::string text;
    if (files || context.learnsFromMoves) text += kFolder;
    if (files) text += "plugin {\n  sieve_after = file:" + InForce(kFileJunk) + "\n}\n";
    if (context.learnsFromMoves) text += LearningText();
    return text;
}

void PutJunkFolderScripts(generation::NextGeneration& next,
                          const settings::StoredSettings& settings, const RenderContext& context)
{
    if (FilesJunk(settings, context)) next.PutScript(kFileJunk, FileJunkText(settings));
    if (!context.learnsFromMoves) return;

    next.PutScript(kLearnSpam, kLearnSpamText);
    next.PutScript(kLearnHam, kLearnHamText);
}

}  // namespace host::render
