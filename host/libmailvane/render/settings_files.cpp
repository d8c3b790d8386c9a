// Puts the files made from the settings into the next generation.
#include "host/libmailvane/render/settings_files.h"

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/dovecot.h"
#include "host/libmailvane/render/postfix.h"

#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/render/attachment_checks.h"
#include "host/libmailvane/render/certificate.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/junk_folder.h"
#include "host/libmailvane/render/scanner.h"

namespace host::render {

namespace {

/// Maps filled by lists; empty ones are put until a list fills them.
const char* const kListMaps[] = {"aliases",
                                 "login_aliases",
                                 "sender_bcc",
                                 "recipient_bcc",
                                 "sender_access",
                                 "recipient_access",
                                 "client_access",
                                 "client_addresses",
                                 "discarded_recipients",
                                 "recipient_transport",
                                 "black_senders",
                                 "black_recipients"};

/// Tables and files filled by lists and not compiled; likewise.
const char* const kListFiles[] = {generation::kQuotaFile, generation::kClientNetworksFile,
                                  generation::kBlackClientsFile};

}  // namespace

void PutSettingsFiles(generation::NextGeneration& next, const settings::StoredSettings& settings)
{
    const RenderContext context =
        ReadRenderContext(ChooseCertificate(next, settings.Text("smtp_hostname")));
    next.Put("mailvane.conf", settings.SettingsText(), 0600);
    next.Put("domains", settings.DomainsText(), 0644);
    next.Put("dnsbl", settings.BlocklistsText(), 0644);
    next.Put("postfix/main.cf", RenderPostfixMain(settings, context), 0644);
    next.Put("postfix/master.cf", RenderPostfixMaster(settings, context), 0644);
    next.Put("postfix/maps/own_names", RenderOwnNames(settings), 0644);
    next.Put("postfix/maps/login_rule", RenderLoginRule(settings), 0644);
    next.Put("postfix/maps/own_senders", RenderOwnSenders(settings), 0644);
    next.PutMap("roles", RenderRoles(context));
    next.PutMap("always_bcc", RenderAlwaysBcc(settings));
    next.PutMap("relay_password", RenderRelayPassword(settings), 0600);
    next.Put("dovecot/dovecot.conf", RenderDovecot(settings, context), 0644);
    PutJunkFolderScripts(next);
    PutFilterFiles(next, settings, context);
    PutScannerFiles(next, settings, context);
    PutAttachmentFiles(next);
    for (const char* map : kListMaps) {
        if (!next.Has(std::string("postfix/maps/") + map)) next.PutMap(map, "");
    }
    for (const char* file : kListFiles) {
        if (!next.Has(file)) next.Put(file, "", 0644);
    }
}

}  // namespace host::render
