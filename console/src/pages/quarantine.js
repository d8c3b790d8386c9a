// Mail that the scanner has kept aside: what it says, and what becomes of it.
import { call, fetchFile } from "../lib/call.js";
import { save } from "../lib/download.js";
import { sentence } from "../lib/failure.js";
import { notify } from "../lib/notices.js";
import { bytes, t, tn } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { useMail } from "../lib/use_mail.js";
import { Shown } from "../parts/loading.js";
import { MailList } from "../parts/mail_list.js";
import { Headers, more, sender, when } from "../parts/mail_parts.js";
import { Page } from "../parts/page.js";

/** @param {{message: {id: string}}} props */
function Details({ message: { id } }) {
    const loaded = useLoad((signal) => call("quarantine_text", { id }, { signal }), [id]);
    return html`
        <p class="actions"><span class="help">${t("mail/id")} <b>${id}</b></span>
            <button type="button" onClick=${() => download(id)}>${t("quarantine/raw")}</button></p>
        <${Shown} loaded=${loaded} lines=${6}>${(/** @type {any} */ data) => html`<${Content} ...${data} />`}<//>`;
}

/** @param {string} id */
async function download(id) {
    try {
        save(await fetchFile("quarantine_raw", { id }), `${id}.eml`);
    } catch (failure) {
        notify(sentence(failure), "bad");
    }
}

/** @typedef {{type: string, name: string, size: number}} Part */

/** @param {{headers: {name: string, value: string}[], text: string, parts: Part[], part_count: number, cut: boolean}} props */
const Content = ({ headers, text, parts, part_count: count, cut }) => html`
    <details><summary>${t("quarantine/headers")}</summary><${Headers} headers=${headers} /></details>
    ${text.trim() ? html`<pre class="code letter" dir="auto" tabindex="0" role="group" aria-label=${t("quarantine/text")}>${text}</pre>`
        : html`<p class="help">${t("quarantine/no_text")}</p>`}
    ${count > 0 && html`
        <h2 class="sub">${tn("quarantine/parts", count)}</h2>
        <ul class="parts">${parts.map(({ type, name, size }) => html`<li>${name || "–"} <small>${type}, ${bytes(size)}</small></li>`)}
            ${count > parts.length && html`<li>${more(parts.length, count)}</li>`}</ul>`}
    ${cut && html`<p class="help">${t("mail/cut")}</p>`}`;

/** @type {import("../parts/mail_list.js").MailAbout} */
const ABOUT = {
    columns: [
        { name: "date", title: "quarantine/date", cell: ({ date }) => when(date) },
        { name: "sender", title: "pages/members/sender", cell: (one) => sender(one.sender) },
        { name: "recipients", title: "queue/recipients", cell: ({ recipients, recipient_count: count }) => html`
            ${recipients.map((/** @type {string} */ one) => html`<p>${one}</p>`)}${more(recipients.length, count)}` },
        { name: "subject", title: "pages/members/subject", cell: ({ subject }) => html`<bdi>${subject || "–"}</bdi>` },
        { name: "score", title: "quarantine/score", cell: ({ score }) => score || "–" },
        { name: "size", title: "pages/members/size", cell: ({ size }) => bytes(size) },
    ],
    deeds: [
        { call: "quarantine_release", text: "quarantine/release" },
        { call: "quarantine_learn", text: "quarantine/ham", members: { as: "ham" } },
        { call: "quarantine_learn", text: "quarantine/spam", members: { as: "spam" } },
        { call: "quarantine_delete", text: "queue/delete", asks: true },
    ],
    details: Details,
    named: ({ sender: from, subject, id }) => `${from || "<>"}: ${subject || id}`,
    empty: "quarantine/empty",
};

export function Quarantine() {
    const state = useMail("quarantine_list", { dir: "DESC" });
    return html`
        <${Page} title=${t("quarantine/title")} lead=${t("quarantine/lead")} actions=${html`
            <button type="button" onClick=${() => state.loaded.reload()}>${t("mail/reload")}</button>`}>
            <${MailList} state=${state} about=${ABOUT} />
        <//>`;
}
