// Puts the files made from the settings into the next generation.
#include "host/libmailvane/render/settings_files.h"

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/render/dovecot.h"
#include "host/libmailvane/render/postfix.h"

#include "host/libmailvane/render/certificate.h"
#include "host/libmailvane/render/filters.h"
#include "host/libmailvane/render/junk_folder.h"
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/render/scanner.h"

namespace host::render {

namespace {

/// Puts empty files for the lists that have filled none yet.
void PutEmptyLists(generation::NextGeneration& next)
{
    for (const List& list : kLists) {
        for (const generation::ListFile& file : EmptyFiles(list)) {
            if (!next.Has(file.Path())) next.Put(file);
        }
    }
}

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
    PutJunkFolderScripts(next, settings, context);
    PutFilterFiles(next, settings, context);
    PutScannerFiles(next, settings, context);
    PutEmptyLists(next);
}

}  // namespace host::render
