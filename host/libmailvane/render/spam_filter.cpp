// Texts of the spam filter's files.
#include "host/libmailvane/render/spam_filter.h"

#include <string>

#include "host/libmailvane/render/scanner.h"

namespace host::render {

namespace {

const char kHeader[] = "# Made by mailvane from its stored settings.\n";

/// The plugins of SpamAssassin that are loaded: those that score a message by its own content.
const char* const kPlugins[] = {
    "AutoLearnThreshold", "Bayes",       "BodyEval",      "Check",     "DNSEval",  "FreeMail",
    "HTMLEval",           "HeaderEval",  "HTTPSMismatch", "ImageInfo", "MIMEEval", "MIMEHeader",
    "RelayEval",          "ReplaceTags", "URIDetail",     "URIEval",   "VBounce",  "WLBLEval",
    "WelcomeListSubject"};

/// Those that ask the name servers about it.
const char* const kNetworkPlugins[] = {"AskDNS", "DKIM", "SPF", "URIDNSBL"};

std::string PluginsText(const RenderContext& context)
{
    std::string text = kHeader;
    text += "enable_compat welcomelist_blocklist\n";
    for (const char* plugin : kPlugins) {
        text += std::string("loadplugin Mail::SpamAssassin::Plugin::") + plugin + "\n";
    }
    if (!context.asksNetwork) return text;

    for (const char* plugin : kNetworkPlugins) {
        text += std::string("loadplugin Mail::SpamAssassin::Plugin::") + plugin + "\n";
    }
    return text;
}

std::string SettingsText(const settings::StoredSettings& settings, const RenderContext& context)
{
    const char* const learns = settings.Bool("spam_bayes") ? "1" : "0";
    std::string text = kHeader;
    text += std::string("use_bayes ") + learns + "\n";
    text += std::string("bayes_auto_learn ") + learns + "\n";
    // Without this it looks up names of others to find out.
    if (context.asksNetwork) text += "dns_available yes\n";
    text += "bayes_path /var/lib/amavis/.spamassassin/bayes\n";
    text += "include " + generation::GeneratedDirectory() + "/current/" + kSpamRules + "\n";
    return text;
}

}  // namespace

void PutSpamFilterFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                        const RenderContext& context)
{
    next.Put("amavis/spamassassin/mailvane.pre", PluginsText(context), 0644);
    next.Put("amavis/spamassassin/mailvane.cf", SettingsText(settings, context), 0644);
    if (!next.Has(kSpamRules)) next.Put(kSpamRules, "", 0644);
}

}  // namespace host::render
