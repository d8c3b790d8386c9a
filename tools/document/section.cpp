// The table of sections, and what their functions share.
#include "tools/document/section.h"

#include <optional>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"
#include "platform/mailvane/bcc.h"
#include "platform/mailvane/spam.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

using host::ReasonCode;
namespace render = host::render;

constexpr std::array<Section, kSectionCount> kSections = {{
    {kSettingsSection, Form::kValues, "", nullptr, 0,
     "The settings of the mail services. docs/settings.md tells about each.", ReadSettings,
     MergeSettings},
    {"domains", Form::kLines, "", nullptr, 0,
     "Mail domains besides that of the accounts, in the order in which they are shown.",
     ReadDomains, MergeDomains},
    {"blocklists", Form::kLines, "", nullptr, 0,
     "DNS blocklists: a zone, and rbl_client, rhsbl_sender or rhsbl_helo.", ReadBlocklists,
     MergeBlocklists},
    {"aliases", Form::kLists, "alias.db", &render::kAliasList, 0,
     "Aliases and their members: a user, %group, another alias or an address elsewhere. A user"
     " whose name is an alias too has a backslash before it.",
     ReadAliasSection, MergeAliases},
    {"access_senders", Form::kLines, "mailvane.db", &render::kAccessList, TYPE_SENDER,
     "Access by sender: an address or a domain, or .domain for all below it too, and OK, REJECT or"
     " DISCARD.",
     ReadRuleSection, MergeRules},
    {"access_recipients", Form::kLines, "mailvane.db", &render::kAccessList, TYPE_RECIPIENT,
     "Access by recipient, in the same form.", ReadRuleSection, MergeRules},
    {"access_clients", Form::kLines, "mailvane.db", &render::kAccessList, TYPE_CLIENT,
     "Access by client: an IP address, a network or a domain, and the same words.", ReadRuleSection,
     MergeRules},
    {"copies_of_all", Form::kLines, "", nullptr, 0, "The one address that gets a copy of all mail.",
     ReadCopiesOfAll, MergeCopiesOfAll},
    {"copies_of_senders", Form::kLines, "mailvane.db", &render::kCopyList, BCC_SENDER,
     "Copies of what a sender sends: an address, a user or @domain, and where its copies go.",
     ReadRuleSection, MergeRules},
    {"copies_of_recipients", Form::kLines, "mailvane.db", &render::kCopyList, BCC_RECIPIENT,
     "Copies of what a recipient gets, in the same form.", ReadRuleSection, MergeRules},
    {"limits", Form::kValues, "mailvane.db", &render::kQuotaList, 0,
     "How many messages an hour a login may send.", ReadLimits, MergeLimits},
    {"attachments", Form::kLines, "attachment_types", &render::kAttachmentList, 0,
     "Refused types of attachments, as the ends of their names.", ReadAttachments,
     MergeAttachments},
    {"rule_sets", Form::kParts, "rules", nullptr, 0,
     "Rule sets of the spam filter: whether each is in force, and its rules.", ReadRuleSets,
     MergeRuleSets},
    {"black_list", Form::kLines, "mailvane.db", &render::kBlackWhiteList, BLACK_LIST,
     "Always spam: sender, recipient or client, and an address, a domain, .domain, or for a client"
     " an IP address or a network.",
     ReadRuleSection, MergeRules},
    {"white_list", Form::kLines, "mailvane.db", &render::kBlackWhiteList, WHITE_LIST,
     "Never spam, in the same form.", ReadRuleSection, MergeRules},
    {kPersonalSection, Form::kParts, "personal", nullptr, 0,
     "Forwarding and automatic replies of the users.", ReadPersonal, MergePersonal},
    {"report", Form::kValues, "report.conf", nullptr, 0, "The daily report.", ReadReport,
     MergeReport},
}};

/// A text, or what it stands for as the name of a secret; nothing, with a fault, where that is not
/// known.
std::optional<Line> Meant(const Section& section, const std::string& key, const Node& node,
                          Merge& merge)
{
    if (!node.isSecret) return Line{node.text, node.line};
    const auto secret = merge.secrets.find(node.text);
    if (secret != merge.secrets.end()) {
        return Line{secret->second.text, node.line, secret->second.isTyped};
    }
    merge.faults.push_back({node.line, PathOf(section, key), ReasonCode::kMissing,
                            "the secret is neither stored nor given"});
    return std::nullopt;
}

}  // namespace

const std::array<Section, kSectionCount>& AllSections()
{
    return kSections;
}

std::string PathOf(const Section& section, const std::string& key)
{
    return std::string(section.name) + "." + key;
}

std::vector<Line> LinesOf(const Section& section, const Node& node, Merge& merge)
{
    if (node.isNothing) return {};
    if (node.kind != Node::Kind::kList) {
        merge.faults.push_back(
            {node.line, std::string(section.name), ReasonCode::kBadFormat, "is no list"});
        return {};
    }
    std::vector<Line> lines;
    for (const Node& item : node.items) {
        const std::string text(host::Trim(item.text));
        const bool isText = item.kind == Node::Kind::kText && !item.isSecret && !text.empty();
        if (isText && host::names::IsPlainText(text)) {
            lines.push_back({text, item.line});
        } else {
            merge.faults.push_back({item.line, std::string(section.name),
                                    isText ? ReasonCode::kNotText : ReasonCode::kNoEntry,
                                    "is no text of one line"});
        }
    }
    return lines;
}

bool IsMap(const Section& section, const Node& node, Merge& merge)
{
    if (node.kind == Node::Kind::kMap) return true;
    if (!node.isNothing) {
        merge.faults.push_back(
            {node.line, std::string(section.name), ReasonCode::kBadFormat, "is no map of names"});
    }
    return false;
}

std::map<std::string, Line> ValuesOf(const Section& section, const Node& node, Merge& merge)
{
    std::map<std::string, Line> values;
    if (!IsMap(section, node, merge)) return values;
    for (const auto& [name, value] : node.members) {
        if (value.kind != Node::Kind::kText) {
            merge.faults.push_back({value.line, PathOf(section, name.text), ReasonCode::kBadFormat,
                                    "is no single value"});
            continue;
        }
        const std::optional<Line> meant = Meant(section, name.text, value, merge);
        if (meant) values[name.text] = *meant;
    }
    return values;
}

std::string WhyOf(const host::Reason& cause)
{
    const auto beginning = cause.text.find(": ");
    return beginning == std::string::npos ? cause.text : cause.text.substr(beginning + 2);
}

std::string Spelled(host::settings::SettingType type, const std::string& stored)
{
    using host::settings::SettingType;
    if (type == SettingType::kInt) return stored;
    if (type == SettingType::kBool) return stored == "yes" ? "true" : "false";
    return Quoted(stored);
}

std::string Switch(const std::string& text)
{
    if (text == "true") return "yes";
    return text == "false" ? "no" : text;
}

}  // namespace document
