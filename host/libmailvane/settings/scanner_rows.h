// Settings of the mail scanner.
#pragma once

#include "host/libmailvane/settings/setting_row.h"

namespace host::settings {

inline constexpr Place kScannerSwitches{"security", "scanner", Title("Mail scanner")};
inline constexpr Place kScores{"spam_config", "scores", Title("Scores")};
inline constexpr Place kSpam{"spam_config", "spam", Title("Spam")};
inline constexpr Place kViruses{"spam_config", "viruses", Title("Viruses")};

inline constexpr Choice kSpamActions[] = {
    {"tag", Title("Tag it and deliver it")},
    {"quarantine", Title("Keep it aside")},
    {"reject", Title("Refuse it")},
    {"discard", Title("Throw it away")},
};

inline constexpr Choice kVirusActions[] = {
    {"reject", Title("Refuse it")},
    {"quarantine", Title("Keep it aside")},
    {"discard", Title("Throw it away")},
};

inline constexpr SettingRow kScannerRows[] = {
    {SettingsObject::kMailScanner, Name("anti_virus_enable"), Value::Switch("no"),
     Title("Virus scan"), Help("Mail is scanned for viruses."), kScannerSwitches, Needs::Nothing(),
     Warning("Mail waits until there are virus signatures."),
     Restarts("postfix mailscanner antivirus"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("spam_enable"), Value::Switch("no"), Title("Spam filter"),
     Help("Mail is scored for spam."), kScannerSwitches, Needs::Nothing(), Warning::None(),
     Restarts("postfix mailscanner"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("enable_dangerous_content_scan"), Value::Switch("no"),
     Title("Refuse dangerous attachments"),
     Help("Mail is refused when it has an attachment that can run."), kScannerSwitches,
     Needs::Nothing(), Warning::None(), Restarts("postfix mailscanner"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("spam_tag_score"), Value::Number("5", 0, 1000, kPoints),
     Title("Score of tagged mail"), Help("Mail is tagged as spam from this score on."), kScores,
     Needs("spam_enable", "yes"), Warning::None(), Restarts("mailscanner"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("spam_reject_score"), Value::Number("12", 0, 1000, kPoints),
     Title("Score of the action"), Help("The action on spam applies from this score on."), kScores,
     Needs("spam_enable", "yes"), Warning::None(), Restarts("mailscanner"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("spam_subject_tag"),
     Value::Text("[SPAM]", 0, 64, kPlainText), Title("Mark in the subject"),
     Help("Tagged mail has this text before its subject."), kSpam, Needs("spam_enable", "yes"),
     Warning::None(), Restarts("mailscanner"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("spam_action"), Value::OneOf("tag", kSpamActions),
     Title("Action on spam"),
     Help("This becomes of mail that has reached the score of the action."), kSpam,
     Needs("spam_enable", "yes"), Warning("Mail that is thrown away is lost, and nobody is told."),
     Restarts("mailscanner"), Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("virus_action"), Value::OneOf("reject", kVirusActions),
     Title("Action on viruses"), Help("This becomes of mail that has a virus."), kViruses,
     Needs("anti_virus_enable", "yes"),
     Warning("Mail that is thrown away is lost, and nobody is told."), Restarts("mailscanner"),
     Since("0.1.0")},
    {SettingsObject::kMailScanner, Name("spam_bayes"), Value::Switch("no"),
     Title("Learning spam filter"), Help("The scanner learns from the mail that it sees."), kSpam,
     Needs("spam_enable", "yes"), Warning::None(), Restarts("mailscanner"), Since("0.1.0")},
};

}  // namespace host::settings
