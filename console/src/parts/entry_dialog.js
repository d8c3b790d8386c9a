// The form of a list's entry, in a dialog. When the platform has removed the old entry and then refused
// the new one, it offers to put the old one back.
import { reasonsOf } from "../lib/failure.js";
import { findRow } from "../lib/list_requests.js";
import { changed, choicesFor, emptyEntry, faultsOf, reasonsByMember, shownMembers, takesMany, words } from "../lib/lists.js";
import { notify } from "../lib/notices.js";
import { t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { Dialog } from "./dialog.js";
import { FormField, idOf } from "./field.js";
import { FormActions } from "./form_actions.js";
import { nameOf } from "./list_rows.js";
import { Problem } from "./problem.js";

/** @typedef {import("../lib/lists.js").Row} Row */

/** `lost`: the old entry is no longer in the list.
 *  @typedef {{failure: unknown, lost: boolean}} Refusal */

/** @param {{state: import("../lib/use_list.js").ListState, old?: Row, given: Row, close: () => void}} props
 *  given: members that a new entry begins with */
export function EntryDialog({ state, old, given, close }) {
    const { list } = state;
    const [entry, setEntry] = useState(() => ({ ...emptyEntry(list, given), ...old }));
    const [errors, setErrors] = useState(/** @type {Record<string, string>} */ ({}));
    const [refusal, setRefusal] = useState(/** @type {Refusal | null} */ (null));
    const [busy, setBusy] = useState(false);
    const isMany = !old && takesMany(list);
    const change = /** @type {ChangeAbout} */ (old ? list.edit : list.add);

    /** @param {() => Promise<void>} work @param {string} said */
    async function attempt(work, said) {
        setBusy(true);
        setRefusal(null);
        try {
            await work();
            notify(said);
            close();
        } catch (failure) {
            setErrors(reasonsByMember(change, reasonsOf(failure)));
            const lost = old !== undefined && !(await findRow(list, old).catch(() => old));
            if (lost) await state.loaded.reload();
            setRefusal({ failure, lost });
            setBusy(false);
        }
    }

    /** @param {Event} event */
    async function submit(event) {
        event.preventDefault();
        const entries = isMany ? words(entry[list.columns[0]]).map((text) => ({ [list.columns[0]]: text })) : [entry];
        const wrong = entries.map((one) => faultsOf(list, one)).find((found) => Object.keys(found).length);
        setErrors(wrong ?? (entries.length ? {} : { [list.columns[0]]: "empty" }));
        if (wrong || !entries.length) return void document.getElementById(idOf(Object.keys(wrong ?? entry)[0]))?.focus();

        // What was lost is no longer there to be replaced.
        if (old && !refusal?.lost) await attempt(() => state.edit(entry, old), t("lists/saved", { name: nameOf(list, entry) }));
        else await attempt(() => state.add(entries), isMany ? tn("lists/added", entries.length) : t("lists/saved", { name: nameOf(list, entry) }));
    }

    const putBack = () => attempt(() => state.add([/** @type {Row} */ (old)]), t("lists/is_back"));
    return html`
        <${Dialog} title=${t(old ? "lists/edit_title" : "lists/add_title", { list: t(`pages/pages/${state.name}`) })}
            close=${() => !busy && close()}>
            <form class="entry" onSubmit=${submit} novalidate>
                ${refusal && html`<${Refused} refusal=${refusal} errors=${errors} putBack=${putBack} />`}
                <fieldset disabled=${busy}>
                    ${shownMembers(list, entry).map((name) => html`<${FormField} key=${name} name=${name}
                        field=${fieldOf(list, name, entry, isMany)} value=${entry[name]} stored=${undefined} changed=${false}
                        error=${errors[name]} disabled=${false} note=${isMany && html`<p class="help">${t("lists/many")}</p>`}
                        change=${(/** @type {any} */ value) => setEntry((old) => changed(list, old, name, value))} />`)}
                    <${FormActions} action=${t(old ? "form/save" : "lists/add")} close=${close} busy=${busy} />
                </fieldset>
            </form>
        <//>`;
}

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
