// The form of a list's entry, in a dialog. When the platform has removed the old entry and then refused
// the new one, it offers to put the old one back.
import { reasonsOf } from "../lib/failure.js";
import { findRow, unseen } from "../lib/list_requests.js";
import { changed, choicesFor, emptyEntry, faultsOf, reasonsByMember, shownMembers, takesMany, words } from "../lib/lists.js";
import { notify } from "../lib/notices.js";
import { t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { Dialog } from "./dialog.js";
import { FormField, focusField, shown } from "./field.js";
import { FormActions } from "./form_actions.js";
import { nameOf } from "./list_rows.js";
import { Compared, askOvertaken } from "./overtaken.js";
import { Problem } from "./problem.js";

/** @typedef {import("../lib/lists.js").Row} Row */

/** `lost`: the old entry is no longer in the list.
 *  @typedef {{failure: unknown, lost: boolean}} Refusal */

/** @param {{state: import("../lib/use_list.js").ListState, old?: Row, given: Row, close: () => void}} props
 *  given: members that a new entry begins with */
export function EntryDialog({ state, old, given, close }) {
    const { list } = state;
    const [entry, setEntry] = useState(() => ({ ...emptyEntry(list, given), ...old }));
    const [base, setBase] = useState(old);  // what the entry replaces
    const [errors, setErrors] = useState(/** @type {Record<string, string>} */ ({}));
    const [refusal, setRefusal] = useState(/** @type {Refusal | null} */ (null));
    const [busy, setBusy] = useState(false);
    const isMany = !old && takesMany(list);
    const change = /** @type {ChangeAbout} */ (old ? list.edit : list.add);

    /** @param {() => Promise<void>} work */
    async function attempt(work) {
        setBusy(true);
        setRefusal(null);
        try {
            await work();
        } catch (failure) {
            setErrors(reasonsByMember(change, reasonsOf(failure)));
            const lost = base !== undefined && !(await findRow(list, base).catch(() => base));
            if (lost) {
                setBase(undefined);
                await state.loaded.reload();
            }
            setRefusal({ failure, lost });
        }
        setBusy(false);
    }

    /** @param {Row[]} entries */
    async function store(entries) {
        const now = isMany ? undefined : await unseen(list, entry, base);
        const verdict = now === undefined ? "mine" : await arbitrate(list, entry, now);
        if (verdict !== "mine") {
            await state.loaded.reload();
            if (verdict) return close();
            setBase(now ?? undefined);
            requestAnimationFrame(() => focusField(list.columns.find((member) => entry[member] !== now?.[member]) ?? ""));
            return;
        }
        const replaced = now === undefined ? base : now;
        if (replaced) await state.edit(entry, replaced);
        else await state.add(entries);
        notify(isMany ? tn("lists/added", entries.length) : t("lists/saved", { name: nameOf(list, entry) }));
        close();
    }

    /** @param {Event} event */
    function submit(event) {
        event.preventDefault();
        const entries = isMany ? words(entry[list.columns[0]]).map((text) => ({ [list.columns[0]]: text })) : [entry];
        const wrong = entries.map((one) => faultsOf(list, one)).find((found) => Object.keys(found).length);
        setErrors(wrong ?? (entries.length ? {} : { [list.columns[0]]: "empty" }));
        if (wrong || !entries.length) focusField(Object.keys(wrong ?? entry)[0]);
        else attempt(() => store(entries));
    }

    const putBack = () => attempt(async () => {
        await state.add([/** @type {Row} */ (old)]);
        notify(t("lists/is_back"));
        close();
    });
    const isChanged = (/** @type {string} */ name) => base !== undefined && entry[name] !== base[name];
    return html`
        <${Dialog} title=${t(old ? "lists/edit_title" : "lists/add_title", { list: t(`pages/pages/${state.name}`) })}
            close=${() => !busy && close()}>
            <form class="entry" onSubmit=${submit} novalidate>
                ${refusal && html`<${Refused} refusal=${refusal} errors=${errors} putBack=${putBack} />`}
                <fieldset disabled=${busy}>
                    ${shownMembers(list, entry).map((name) => html`<${FormField} key=${name} name=${name}
                        field=${fieldOf(list, name, entry, isMany)} value=${entry[name]} stored=${base?.[name]} changed=${isChanged(name)}
                        error=${errors[name]} disabled=${false} note=${isMany && html`<p class="help">${t("lists/many")}</p>`}
                        change=${(/** @type {any} */ value) => setEntry((old) => changed(list, old, name, value))} />`)}
                    <${FormActions} action=${t(old ? "form/save" : "lists/add")} close=${close} busy=${busy} />
                </fieldset>
            </form>
        <//>`;
}

/** Asks about an entry that somebody else has changed, made or removed meanwhile.
 *  @param {ListAbout} list @param {Row} entry @param {Row | null} now */
const arbitrate = (list, entry, now) => askOvertaken(t(now ? "lists/overtaken" : "lists/gone"), now && html`
    <${Compared} rows=${list.columns.filter((member) => entry[member] !== now[member]).map((member) => ({
        title: t(list.fields[member].title), mine: shown(list.fields[member], entry[member]),
        theirs: shown(list.fields[member], now[member]),
    }))} />`);

/** The field as the dialog has it: only choices that suit, and much room where many can be added.
 *  @param {ListAbout} list @param {string} name @param {Row} entry @param {boolean} isMany @returns {Field} */
function fieldOf(list, name, entry, isMany) {
    const field = list.fields[name];
    return { ...field, choices: choicesFor(field, entry), ...(isMany && { format: "text" }) };
}

/** Whether an answer has a message of its own.
 *  @param {any} failure */
const saysMore = (failure) => (failure.errinfo?.sec ?? "common") !== "common";

/** @param {{refusal: Refusal, errors: Record<string, string>, putBack: () => void}} props */
const Refused = ({ refusal: { failure, lost }, errors, putBack }) => html`
    ${(lost || saysMore(failure) || !Object.keys(errors).length) && html`<${Problem} failure=${failure} />`}
    ${lost && html`<div class="problem" role="alert">
        <p><b>${t("lists/lost")}</b></p>
        <p class="actions"><button type="button" onClick=${putBack}>${t("lists/put_back")}</button></p>
    </div>`}`;
