// What was changed, by whom, and the way back to an earlier state of the settings.
import { call } from "../lib/call.js";
import { confirm } from "../lib/dialogs.js";
import { generations } from "../lib/history.js";
import { notify } from "../lib/notices.js";
import { hasText, number, t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CopyButton } from "../parts/copy_button.js";
import { Shown } from "../parts/loading.js";
import { when } from "../parts/mail_parts.js";
import { Page } from "../parts/page.js";
import { Problem } from "../parts/problem.js";
import { Status } from "../parts/status.js";
import { Step } from "../parts/step.js";

/** @typedef {import("../lib/history.js").Generation} Generation */

/** @param {string} name */
const titled = (name) => t([`settings/titles/${name}`, `pages/pages/${name}`].find(hasText) ?? name);

export function History() {
    const loaded = useLoad(generations, []);
    const [busy, setBusy] = useState(false);
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));

    /** @param {Generation} state */
    async function goBack({ number: n, date, different }) {
        if (busy || !(await confirmed(date, different))) return;
        setBusy(true);
        setFailure(null);
        try {
            const { settings } = await call("rollback", { number: n });
            notify(tn("history/done", settings.length));
        } catch (fault) {
            setFailure(fault);
        }
        await loaded.reload();
        setBusy(false);
    }

    return html`
        <${Page} title=${t("history/title")} lead=${t("history/lead")}>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            ${busy && html`<div class="card saving"><p role="status">${t("history/going_back")}</p><progress aria-label=${t("form/saving")}></progress><${Step} /></div>`}
            <${Shown} loaded=${loaded} lines=${8}>${(/** @type {{items: Generation[]}} */ { items }) => html`
                <table class="rows listed history" aria-busy=${loaded.loading}>
                    <thead><tr><th scope="col">${t("history/when")}</th><th scope="col">${t("history/who")}</th>
                        <th scope="col">${t("history/what")}</th><th scope="col"><span class="unseen">${t("history/back")}</span></th></tr></thead>
                    <tbody>${[...items].reverse().map((state) => html`<${State} key=${state.number} state=${state} goBack=${goBack} />`)}</tbody>
                </table>`}<//>
            <${Backup} />
        <//>`;
}

const COMMANDS = ["mailvanectl backup /root/mailvane.tar", "mailvanectl restore /root/mailvane.tar"];

/** What saves all that is stored, and brings it back. */
const Backup = () => html`
    <section class="card">
        <h2>${t("history/backup")}</h2>
        <p>${t("history/backup_text")}</p>
        ${COMMANDS.map((command) => html`<div class="copied" key=${command}><code class="code">${command}</code>
            <${CopyButton} text=${command} label=${t("dns/copy", { name: command })} /></div>`)}
        <p class="warning">${t("history/backup_secret")}</p>
        <p class="help">${t("history/backup_without")}</p>
    </section>`;

/** @param {{state: Generation, goBack: (state: Generation) => void}} props */
function State({ state, goBack }) {
    const { date, who, action, in_force: isInForce, settings, files, different } = state;
    return html`<tr>
        <td data-label=${t("history/when")}><div>${when(date)}<br /><small>${t("history/number", { n: number(state.number) })}</small></div></td>
        <td data-label=${t("history/who")}><div>${who || t("history/machine")}<br /><small>${action}</small></div></td>
        <td data-label=${t("history/what")}><div>${settings.map(titled).join(", ") || (files.length ? tn("history/files", files.length) : "–")}</div></td>
        <td class="for-buttons">${isInForce ? html`<${Status} tone="good" text=${t("history/in_force")} />`
            : different.length > 0 ? html`<button type="button" class="link" aria-label=${t("history/back_to", { time: when(date) })}
                onClick=${() => goBack(state)}>${t("history/back")}</button>` : html`<small>${t("history/same")}</small>`}</td></tr>`;
}

/** @param {number} date @param {string[]} different */
const confirmed = (date, different) => confirm({
    title: t("history/sure", { time: when(date) }), action: t("history/back"), danger: true,
    content: html`<p>${tn("history/differ", different.length)}</p>
        <ul class="scroll">${different.map((name) => html`<li>${titled(name)}</li>`)}</ul><p>${t("history/stays")}</p>`,
});
