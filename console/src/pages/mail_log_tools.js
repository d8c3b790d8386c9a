// What can be done with the mail log: save it as a table, save the server's text log, clear it.
import { call, fetchFile } from "../lib/call.js";
import { line } from "../lib/csv.js";
import { serverZone } from "../lib/days.js";
import { confirm } from "../lib/dialogs.js";
import { save } from "../lib/download.js";
import { sentence } from "../lib/failure.js";
import { query } from "../lib/log_query.js";
import { notify } from "../lib/notices.js";
import { language, number, t, tn } from "../lib/texts.js";
import { html, useRef, useState } from "../lib/ui.js";

const MOST = 100_000;  // rows of a file
const AT_ONCE = 1000;
const COLUMNS = ["date", "time", "status", "mail_from", "mail_to", "size", "message_id"];

/** @param {{params: Record<string, string>, reload: () => Promise<void>}} props */
export function LogTools({ params, reload }) {
    const [done, setDone] = useState(-1);  // rows of the file so far; -1: none is made
    const stopper = useRef(/** @type {AbortController | null} */ (null));

    async function saveTable() {
        stopper.current = new AbortController();
        setDone(0);
        await attempt(async () => {
            const lines = await tableOf(params, stopper.current?.signal, setDone);
            save(new Blob(["\ufeff", ...lines], { type: "text/csv;charset=utf-8" }), "mail-log.csv");
            if (lines.length > MOST) notify(t("mail_log/cut", { most: number(MOST) }), "bad");
        });
        setDone(-1);
    }

    const saveText = () => attempt(async () => save(await fetchFile("export_postfix_log"), "maillog.txt"));

    /** The file is made by the server, as it always was. */
    async function savePage() {
        const sure = await confirm({ title: t("mail_log/save_page"), text: t("mail_log/page_text"), action: t("lists/export_action") });
        if (!sure) return;
        const { sort = "date", dir = "DESC" } = params;
        await attempt(async () => save(await fetchFile("export_log", { sort, dir, lang: language.value }), "mail-log.html"));
    }

    async function clear() {
        const sure = await confirm({
            title: t("mail_log/clear"), text: t("mail_log/clear_text"), action: t("mail_log/clear"),
            danger: true, word: t("mail_log/clear_word"),
        });
        if (!sure) return;
        await attempt(async () => {
            await call("clear_log");
            notify(t("mail_log/cleared"));
        });
        await reload();
    }

    if (done >= 0) {
        return html`<p role="status">${tn("mail_log/saving", done)}</p>
            <button type="button" onClick=${() => stopper.current?.abort()}>${t("mail_log/stop")}</button>`;
    }
    return html`
        <button type="button" onClick=${saveTable}>${t("mail_log/save_table")}</button>
        <button type="button" onClick=${saveText}>${t("mail_log/save_text")}</button>
        <button type="button" onClick=${savePage}>${t("mail_log/save_page")}</button>
        <button type="button" class="danger" onClick=${clear}>${t("mail_log/clear")}</button>`;
}

/** Says why something did not work, unless somebody stopped it.
 *  @param {() => Promise<void>} work */
async function attempt(work) {
    try {
        await work();
    } catch (failure) {
        if (/** @type {any} */ (failure).kind !== "stopped") notify(sentence(failure), "bad");
    }
}

/** The lines of the table, its head first.
 *  @param {Record<string, string>} params @param {AbortSignal | undefined} signal
 *  @param {(rows: number) => void} tell @returns {Promise<string[]>} */
async function tableOf(params, signal, tell) {
    const lines = [line(COLUMNS)];
    const zone = await serverZone();
    for (let start = 0; start < MOST; start += AT_ONCE) {
        const { items, total } = await call(...query(params, start, AT_ONCE, language.value, zone), { signal });
        const rows = Array.isArray(items) ? items : [];
        lines.push(...rows.map((row) => line(COLUMNS.map((name) => row[name] ?? ""))));
        tell(lines.length - 1);
        if (!rows.length || start + AT_ONCE >= total) break;
    }
    return lines;
}
