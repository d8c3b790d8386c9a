// The key pairs that sign mail, and how an earlier one comes back.
import { call } from "../lib/call.js";
import { moment, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CopyButton } from "../parts/copy_button.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";
import { Status } from "../parts/status.js";

/** @typedef {{date: string, key: string, signs: boolean}} Pair */

/** A date as 20261122T150000Z.
 *  @param {string} text */
const dateOf = (text) => new Date(text.replace(/(\d{4})(\d\d)(\d\d)T(\d\d)(\d\d)(\d\d)Z/, "$1-$2-$3T$4:$5:$6Z"));

export function Keys() {
    const loaded = useLoad((signal) => call("dkim_list", {}, { signal }), []);
    return html`
        <${Page} title=${t("keys/title")} lead=${html`${t("keys/lead")} <a href="#/security">${t("pages/pages/security")}</a>`}>
            <${Shown} loaded=${loaded} lines=${3}>${(/** @type {{pairs: Pair[]}} */ { pairs }) => (pairs.length ? html`
                <table class="rows listed"><thead><tr><th scope="col">${t("keys/made")}</th><th scope="col">${t("keys/key")}</th>
                    <th scope="col">${t("keys/back")}</th></tr></thead>
                    <tbody>${pairs.map((pair) => html`<${Row} key=${pair.date} pair=${pair} />`)}</tbody></table>`
                : html`<p class="card empty">${t("security/no_key")}</p>`)}<//>
        <//>`;
}

/** @param {{pair: Pair}} props */
function Row({ pair: { date, key, signs } }) {
    const command = `mailvanectl dkim restore ${date}`;
    return html`<tr>
        <td data-label=${t("keys/made")}>${moment(dateOf(date), { dateStyle: "medium", timeStyle: "short" })}</td>
        <td data-label=${t("keys/key")}><code>${key}</code></td>
        <td data-label=${t("keys/back")}>${signs ? html`<${Status} tone="good" text=${t("keys/signs")} />`
            : html`<div class="copied"><code>${command}</code><${CopyButton} text=${command} label=${t("dns/copy", { name: command })} /></div>`}</td></tr>`;
}
