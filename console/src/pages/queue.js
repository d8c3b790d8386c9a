// The queue: mail that waits, why it waits, and what can be done about it.
import { call } from "../lib/call.js";
import { bytes, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { useMail } from "../lib/use_mail.js";
import { LogLines } from "../parts/log_lines.js";
import { Shown } from "../parts/loading.js";
import { MailList } from "../parts/mail_list.js";
import { Headers, more, sender, when } from "../parts/mail_parts.js";
import { Page } from "../parts/page.js";
import { Status } from "../parts/status.js";

/** @type {Record<string, import("../parts/status.js").Tone>} */
const TONES = { deferred: "warning", hold: "bad", active: "good" };

/** @param {{recipients: {address: string, reason: string}[], recipient_count: number}} message */
const recipients = ({ recipients: shown, recipient_count: count }) => html`
    ${shown.map(({ address, reason }) => html`<p>${address}${reason && html`<small class="reason">${reason}</small>`}</p>`)}
    ${more(shown.length, count)}`;

/** @param {{message: {id: string}}} props */
function Details({ message: { id } }) {
    const loaded = useLoad((signal) => call("queue_message", { id }, { signal }), [id]);
    return html`
        <p class="help">${t("mail/id")} <b>${id}</b></p>
        <${Shown} loaded=${loaded} lines=${4}>${(/** @type {any} */ data) => html`<${Headers} ...${data} />`}<//>
        <${LogLines} id=${id} />`;
}

/** @type {import("../parts/mail_list.js").MailAbout} */
const ABOUT = {
    columns: [
        { name: "arrival", title: "queue/arrival", sorts: true, cell: ({ arrival }) => when(arrival) },
        { name: "queue", title: "queue/state", cell: ({ queue }) => html`
            <${Status} tone=${TONES[queue] ?? "quiet"} text=${t(`queue/is_${queue}`)} />` },
        { name: "sender", title: "pages/members/sender", sorts: true, cell: (one) => sender(one.sender) },
        { name: "recipients", title: "queue/recipients", cell: recipients },
        { name: "size", title: "pages/members/size", sorts: true, cell: ({ size }) => bytes(size) },
    ],
    deeds: [
        { call: "queue_flush", text: "queue/flush" },
        { call: "queue_hold", text: "queue/hold" },
        { call: "queue_release", text: "queue/release" },
        { call: "queue_delete", text: "queue/delete", asks: true },
    ],
    details: Details,
    named: ({ id, sender: from, recipients: to }) => `${id}: ${from || "<>"} → ${to[0]?.address ?? "–"}`,
    empty: "queue/empty",
    takesAll: true,
};

export function Queue() {
    const state = useMail("queue_list", { sort: "arrival", dir: "ASC" });
    const buttons = html`
        <button type="button" onClick=${() => state.loaded.reload()}>${t("mail/reload")}</button>
        ${state.total > 0 && html`<button type="button" class="main" aria-disabled=${state.busy}
            onClick=${() => state.perform("queue_flush", { all: true, confirm: true })}>${t("queue/flush_all")}</button>`}`;
    return html`
        <${Page} title=${t("queue/title")} lead=${t("queue/lead")} actions=${buttons}>
            <${MailList} state=${state} about=${ABOUT} />
        <//>`;
}
