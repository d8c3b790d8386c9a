// Takes a file in: it is checked here first, then announced and sent.
import { call } from "../lib/call.js";
import { meaning } from "../lib/failure.js";
import { apply, loadRows, rowsBeside, tabsOf } from "../lib/list_requests.js";
import { check, countNew, goodLines, textOf } from "../lib/list_text.js";
import { bodyFor, emptyEntry } from "../lib/lists.js";
import { fault } from "../lib/fields.js";
import { notify } from "../lib/notices.js";
import { number, t, tn } from "../lib/texts.js";
import { classes, html, useId, useMemo, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Dialog } from "./dialog.js";
import { FormField } from "./field.js";
import { Problem } from "./problem.js";

/** @typedef {import("../lib/lists.js").Row} Row */
/** @typedef {import("../lib/list_text.js").Checked} Checked */

const LARGEST = { rules: 1 << 20, others: 64 << 20 };  // bytes that the program takes
const TOLD = 20;  // bad lines that are shown
/** Forms of lines that mean something without the others. */
const SINGLE = ["access", "copies", "black_white"];

/** @typedef {{file: File, text: string, fault: string}} Chosen */

/** @param {{state: import("../lib/use_list.js").ListState, close: () => void}} props */
export function ImportDialog({ state, close }) {
    const { list, name, view } = state;
    const change = /** @type {ChangeAbout & {lines: string}} */ (list.import);
    const fields = change.fields ?? {};
    const tab = list.tabs && { [list.tabs.member]: tabsOf(list)[view.tab][0] };
    const [entry, setEntry] = useState(() => emptyEntry({ ...list, fields }, tab ?? {}));
    const [chosen, setChosen] = useState(/** @type {Chosen | null} */ (null));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const [busy, setBusy] = useState(false);
    const checked = useMemo(() => (chosen && !chosen.fault ? check(change.lines, entry, chosen.text, list) : null), [chosen, entry]);
    const fresh = useLoad(async (signal) => {
        const rows = checked?.names.size ? await rowsBeside(list, entry, signal) : undefined;
        return rows && checked ? { count: countNew(change.lines, checked, rows), of: checked.names.size } : undefined;
    }, [checked]);
    const wrong = Object.fromEntries(Object.keys(fields).map((member) => [member, chosen ? faultOf(fields[member], entry[member]) : ""]));
    const isReady = checked && checked.good > 0 && !Object.values(wrong).some(Boolean) && !busy;

    /** @param {File | undefined} file */
    async function take(file) {
        if (!file) return;
        setFailure(null);
        setChosen(await read(file, change.lines));
        const text = Object.keys(fields).find((member) => !fields[member].choices);
        if (text) setEntry((old) => ({ ...old, [text]: old[text] || file.name }));
    }

    /** @param {boolean} all */
    async function send(all) {
        if (!isReady || !chosen || !checked) return;
        setBusy(true);
        setFailure(null);
        try {
            const content = all ? chosen.file : new File([goodLines(checked)], chosen.file.name);
            notify(await importFile(state, change, entry, content));
            close();
        } catch (fault) {
            setFailure(fault);
            setBusy(false);
        }
    }

    /** @param {Event} event */
    const submit = (event) => {
        event.preventDefault();
        send(!checked?.bad.length || !SINGLE.includes(change.lines));
    };
    return html`
        <${Dialog} title=${t("lists/import_title", { list: t(`pages/pages/${name}`) })} close=${() => !busy && close()}>
            <form class="entry" onSubmit=${submit} novalidate>
                <p class="help">${t(`lists/lines_${change.lines}`)}</p>
                <${DropZone} take=${take} chosen=${chosen} />
                ${Object.keys(fields).map((member) => html`<${FormField} key=${member} name=${`import-${member}`}
                    field=${fields[member]} value=${entry[member]} stored=${undefined} changed=${false} error=${wrong[member]}
                    disabled=${busy} change=${(/** @type {any} */ value) => setEntry((old) => ({ ...old, [member]: value }))} />`)}
                <div role="status">
                    ${chosen?.fault && html`<p class="error">${chosen.fault}</p>`}
                    ${checked && html`<${Preview} checked=${checked} form=${change.lines} />`}
                    ${checked && fresh.data && html`<p>${t("lists/new", { n: number(fresh.data.count), m: number(fresh.data.of - fresh.data.count) })}</p>`}
                </div>
                ${failure ? html`<${Problem} failure=${failure} />` : null}
                <p class="actions">
                    <button class="main" aria-disabled=${!isReady}>
                        ${t(checked?.bad.length && SINGLE.includes(change.lines) ? "lists/import_good" : "lists/import_action")}</button>
                    <button type="button" onClick=${() => !busy && close()}>${t("shell/cancel")}</button>
                    ${busy && html`<progress aria-label=${t("lists/importing")}></progress>`}
                </p>
            </form>
        <//>`;
}

/** @param {Field} field @param {any} value */
const faultOf = (field, value) => (value === "" ? "empty" : fault(field, value));

/** @param {File} file @param {string} form @returns {Promise<Chosen>} */
async function read(file, form) {
    const largest = form === "rules" ? LARGEST.rules : LARGEST.others;
    if (file.size > largest) {
        return { file, text: "", fault: t("lists/too_large", { most: number(largest >> 20) }) };
    }
    const text = textOf(await file.arrayBuffer());
    return { file, text: text ?? "", fault: text === undefined ? t("lists/not_utf8") : "" };
}

/** Announces the file and sends it, back to back; what is said when it was taken in.
 *  @param {import("../lib/use_list.js").ListState} state @param {ChangeAbout} change @param {Row} entry @param {File} file */
async function importFile(state, change, entry, file) {
    const { list, view } = state;
    const count = async () => (await loadRows(list, { ...view, query: "", start: 0, limit: 1 })).total;
    const before = await count();
    await state.perform(async () => {
        await call(change.action, bodyFor(change, [entry]));
        await call("upload", { file });
        await apply(list);
    });
    const after = await count();
    return t("lists/imported", { before: number(before), after: number(after) });
}

/** Where a file is dropped, or chosen.
 *  @param {{take: (file: File | undefined) => void, chosen: Chosen | null}} props */
function DropZone({ take, chosen }) {
    const [isOver, setOver] = useState(false);
    const id = useId();

    /** @param {DragEvent} event @param {boolean} over */
    const drag = (event, over) => {
        event.preventDefault();
        setOver(over);
    };
    return html`
        <div class=${classes("drop", isOver && "over")} onDragOver=${(/** @type {DragEvent} */ event) => drag(event, true)}
            onDragLeave=${(/** @type {DragEvent} */ event) => drag(event, false)}
            onDrop=${(/** @type {DragEvent} */ event) => {
                drag(event, false);
                take(event.dataTransfer?.files[0]);
            }}>
            <label for=${id}>${chosen ? chosen.file.name : t("lists/drop")}</label>
            <input id=${id} type="file" onChange=${(/** @type {any} */ event) => take(event.currentTarget.files[0])} />
        </div>`;
}

/** How many lines are good, and what is wrong with the others.
 *  @param {{checked: Checked, form: string}} props */
const Preview = ({ checked: { good, bad }, form }) => html`
    <p><b>${tn("lists/entries", good)}</b>${bad.length > 0 && html`<b class="error">, ${tn("lists/bad", bad.length)}</b>`}</p>
    ${bad.length > 0 && html`
        <p>${t(SINGLE.includes(form) ? "lists/bad_left_out" : "lists/all_or_nothing")}</p>
        <ul class="scroll bad-lines" tabindex="0">${bad.slice(0, TOLD).map(({ number: line, text, code }) => html`
            <li><b>${t("failures/line", { n: line })}</b> <code>${text.slice(0, 80)}</code><br />${meaning({ code })}</li>`)}
            ${bad.length > TOLD && html`<li>${tn("lists/more", bad.length - TOLD)}</li>`}</ul>`}`;
