// Signatures, checks of senders, the scanner: the settings, the key that signs, and the state of the
// virus scanner.
import { call, pause } from "../lib/call.js";
import { confirm } from "../lib/dialogs.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CopyButton } from "../parts/copy_button.js";
import { Problem } from "../parts/problem.js";
import { settingsPage } from "../parts/settings_page.js";

/** The public key, as the DNS has to have it.
 *  @param {{stored: any, reload: () => Promise<void>}} props */
function SigningKey({ stored, reload }) {
    const [busy, setBusy] = useState(false);
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const key = stored.dkim_public_key && `v=DKIM1; k=rsa; p=${stored.dkim_public_key}`;

    async function generate() {
        const sure = await confirm({
            title: t("security/new_key"), text: t(key ? "security/new_key_text" : "security/first_key_text"),
            action: t("security/make_key"), danger: Boolean(key),
        });
        if (!sure) return;

        setBusy(true);
        try {
            await call("generate_dkim_key");
            setFailure(null);
            await reload();
        } catch (fault) {
            setFailure(fault);
        }
        setBusy(false);
    }

    return html`
        <div class="field">
            <span class="label" id="public-key">${t("security/public_key")}</span>
            <div class="control">
                ${failure ? html`<${Problem} failure=${failure} />` : null}
                ${key ? html`
                    <p class="help">${t("security/publish", { name: `${stored.dkim_selector}._domainkey` })}</p>
                    <div class="code" tabindex="0" role="group" aria-labelledby="public-key">${key}</div>`
                    : html`<p class="help">${t("security/no_key")}</p>`}
                <p class="actions">
                    ${key && html`<${CopyButton} text=${key} />`}
                    <button type="button" aria-disabled=${busy} onClick=${() => !busy && generate()}>
                        ${t("security/new_key")}</button>
                </p>
            </div>
        </div>`;
}

/** How the virus scanner is, while it is on.
 *  @param {{stored: any}} props */
const VirusScanner = ({ stored }) => {
    if (!stored.support_anti_virus) return html`<p class="note">${t("security/no_engine")}</p>`;
    return stored.anti_virus_enable && html`<${VirusState} />`;
};

const POLL = 2000;  // ms

function VirusState() {
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const [updating, setUpdating] = useState(false);
    const state = useLoad((signal) => call("check_virus_status", {}, { signal }), []);

    async function update() {
        setUpdating(true);
        setFailure(null);
        try {
            await call("fresh_clam");
            for (let now; !now?.isFinish; ) {
                await pause(POLL);
                now = await call("check_virus_status");
            }
        } catch (fault) {
            setFailure(fault);
        }
        setUpdating(false);
        await state.reload();
    }

    const status = updating ? "fresh_clam" : state.data?.status;
    return html`
        <div class="field">
            <span class="label">${t("security/signatures")}</span>
            <div class="control">
                ${failure || state.failure ? html`<${Problem} failure=${failure || state.failure} />` : null}
                <p role="status">${status && t(`security/virus_${status}`)}</p>
                <p><button type="button" aria-disabled=${updating} onClick=${() => !updating && update()}>
                    ${t("security/update_signatures")}</button></p>
            </div>
        </div>`;
}

export const Security = settingsPage("security", {
    beside: { signing: SigningKey, scanner: VirusScanner },
});
