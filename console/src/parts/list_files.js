// A list as a file: saving it, and taking one in.
import { ask } from "../lib/dialogs.js";
import { fetchFile } from "../lib/call.js";
import { save } from "../lib/download.js";
import { sentence } from "../lib/failure.js";
import { bodyFor } from "../lib/lists.js";
import { tabsOf } from "../lib/list_requests.js";
import { notify } from "../lib/notices.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { ImportDialog } from "./import_dialog.js";

/** @typedef {import("../lib/lists.js").Row} Row */

/** Whether each row is a file of its own.
 *  @param {ListAbout} list */
export const savesRows = (list) => Object.values(list.export?.fields ?? {}).some((field) => !field.choices);

/** @param {{state: import("../lib/use_list.js").ListState}} props */
export function ListFiles({ state }) {
    const { list } = state;
    const [isOpen, setOpen] = useState(false);
    return html`
        ${list.export && !savesRows(list) && html`
            <button type="button" onClick=${() => saveList(state)}>${t("lists/export")}</button>`}
        ${list.import && html`<button type="button" onClick=${() => setOpen(true)}>${t("lists/import")}</button>`}
        ${isOpen && html`<${ImportDialog} state=${state} close=${() => setOpen(false)} />`}`;
}

/** Asks which part of the list, after saying what the file does not hold.
 *  @param {import("../lib/use_list.js").ListState} state */
async function saveList({ name, list, view }) {
    const change = /** @type {ChangeAbout} */ (list.export);
    const [[member, field] = ["", undefined]] = Object.entries(change.fields ?? {});
    const shown = tabsOf(list)[view.tab];
    const parts = list.tabs ? [shown] : field?.choices ?? [["", "lists/export_action"]];
    const choice = await ask({
        title: t("lists/export"), text: t(`lists/export_${name}`),
        action: t(list.tabs ? "lists/export_action" : parts[0][1]), other: parts[1] && t(parts[1][1]),
    });
    if (choice) await saveFile(change, { [member]: parts[choice === "other" ? 1 : 0][0] }, `${name}.txt`);
}

/** @param {ChangeAbout} change @param {Row} row @param {string} fileName */
async function saveFile(change, row, fileName) {
    try {
        save(await fetchFile(change.action, bodyFor(change, [row])), fileName);
    } catch (failure) {
        notify(sentence(failure), "bad");
    }
}

/** @param {{list: ListAbout, row: Row}} props */
export function ExportRow({ list, row }) {
    if (!savesRows(list)) return null;
    const change = /** @type {ChangeAbout} */ (list.export);
    const name = String(Object.values(bodyFor(change, [row]))[0]);
    return html`<button type="button" class="link" aria-label=${t("lists/export_named", { name })}
        onClick=${() => saveFile(change, row, name)}>${t("lists/export_row")}</button>`;
}
