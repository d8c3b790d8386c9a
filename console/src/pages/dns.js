// The DNS records that the mail domains need, and whether they are published.
import { call } from "../lib/call.js";
import { save } from "../lib/download.js";
import { hasText, t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { zoneLine } from "../lib/zone.js";
import { CopyButton } from "../parts/copy_button.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";
import { Problem } from "../parts/problem.js";
import { Status } from "../parts/status.js";

/** @typedef {import("../lib/zone.js").DnsRecord} DnsRecord */

/** @type {Record<string, import("../parts/status.js").Tone>} */
const TONES = { published: "good", missing: "bad", differs: "warning" };

export function Dns() {
    const loaded = useLoad((signal) => call("dns_records", {}, { signal }), []);
    /** @type {DnsRecord[]} */
    const records = loaded.data?.records ?? [];
    const domains = [...new Set(records.map(({ domain }) => domain))];

    const saveZone = () => save(new Blob([records.map(zoneLine).join("\n"), "\n"], { type: "text/plain" }), "mail.zone");
    return html`
        <${Page} title=${t("dns/title")} lead=${t("dns/lead")} actions=${records.length > 0 && html`
            <button type="button" onClick=${saveZone}>${t("dns/zone")}</button>`}>
            <${Shown} loaded=${loaded} lines=${10}>${(/** @type {any} */ { notes }) => html`
                ${notes.map((/** @type {{code: string, about: string}} */ note) => html`<${Note} ...${note} />`)}
                ${domains.map((domain) => html`<${Domain} key=${domain} domain=${domain}
                    records=${records.filter((one) => one.domain === domain)} />`)}`}<//>
        <//>`;
}

/** @param {{code: string, about: string}} props */
function Note({ code, about }) {
    const title = `settings/titles/${about}`;
    return html`<p class="note above">${t(`dns/note_${code}`, { about: hasText(title) ? t(title) : about })}</p>`;
}

/** @param {{domain: string, records: DnsRecord[]}} props */
function Domain({ domain, records }) {
    const [found, setFound] = useState(/** @type {DnsRecord[] | null} */ (null));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const [busy, setBusy] = useState(false);

    async function check() {
        if (busy) return;
        setBusy(true);
        setFailure(null);
        try {
            setFound((await call("dns_check", { domain })).records);
        } catch (fault) {
            setFailure(fault);
        }
        setBusy(false);
    }

    return html`
        <section class="card">
            <div class="card-head"><h2>${domain}</h2>
                <button type="button" aria-disabled=${busy} onClick=${check}>${t(busy ? "dns/checking" : "dns/check")}</button></div>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <ul class="records" aria-busy=${busy}>${(found ?? records).map((record) => html`
                <li key=${record.use + record.name}><${Entry} record=${record} /></li>`)}</ul>
        </section>`;
}

/** @param {{record: DnsRecord}} props */
const Entry = ({ record: { use, name, type, value, optional, state, found = [] } }) => html`
    <p class="actions"><b>${use}</b> <span class="address">${name}</span> <small>${[use !== type && type, optional && t("dns/optional")].filter(Boolean).join(", ")}</small>
        ${state && html`<${Status} tone=${TONES[state] ?? "quiet"} text=${t(`dns/is_${state.replace(" ", "_")}`)} />`}</p>
    <div class="copied"><div class="code">${value}</div><${CopyButton} text=${value} label=${t("dns/copy", { name: `${use} ${name}` })} /></div>
    ${state === "differs" && html`<p class="help">${t("dns/found")} ${found.map((one) => html`<code>${one}</code> `)}</p>`}`;
