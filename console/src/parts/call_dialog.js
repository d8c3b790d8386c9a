// A call's form, made from its description, in a dialog: it is sent, and a refusal stands at its field.
import api from "made-api";
import { call } from "../lib/call.js";
import { reasonsOf } from "../lib/failure.js";
import { fault } from "../lib/fields.js";
import { isUncertain } from "../lib/reach.js";
import { html, useState } from "../lib/ui.js";
import { Dialog } from "./dialog.js";
import { FormField, idOf } from "./field.js";
import { FormActions } from "./form_actions.js";
import { Problem } from "./problem.js";

/** `given`: members that are not asked for; `lead`: what stands above the fields; `done` gets the answer
 *  and what was typed; `lost` gets what was typed when the answer was lost; `preview` is a component that shows it.
 *  @param {{name: string, title: string, action: string, given?: Record<string, any>, lead?: any,
 *           close: () => void, done: (answer: any, values: Record<string, any>) => void | Promise<void>,
 *           lost?: (values: Record<string, any>) => Promise<void>, preview?: any}} props */
export function CallDialog({ name, title, action, given = {}, lead, close, done, lost, preview }) {
    const fields = api.forms[name];
    const [values, setValues] = useState(/** @type {Record<string, any>} */ ({}));
    const [errors, setErrors] = useState(/** @type {Record<string, string>} */ ({}));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const [busy, setBusy] = useState(false);

    /** @param {Event} event */
    async function submit(event) {
        event.preventDefault();
        const wrong = Object.keys(fields).filter((one) => fault(fields[one], values[one] ?? ""));
        setErrors(Object.fromEntries(wrong.map((one) => [one, fault(fields[one], values[one] ?? "")])));
        if (wrong.length) return void document.getElementById(idOf(wrong[0]))?.focus();

        setBusy(true);
        setFailure(null);
        try {
            await done(await call(name, { ...given, ...values }), values);
        } catch (problem) {
            if (lost && isUncertain(problem)) return lost(values);
            setErrors(Object.fromEntries(reasonsOf(problem).map(({ setting = "", code }) => [setting, code])));
            setFailure(problem);
            setBusy(false);
        }
    }

    return html`
        <${Dialog} title=${title} close=${() => !busy && close()}>
            <form class="entry" onSubmit=${submit} novalidate>
                ${lead && html`<p>${lead}</p>`}
                ${failure ? html`<${Problem} failure=${failure} />` : null}
                <fieldset disabled=${busy}>
                    ${Object.keys(fields).map((one) => html`<${FormField} key=${one} name=${one} field=${fields[one]}
                        value=${values[one] ?? ""} stored=${undefined} changed=${false} error=${errors[one]} disabled=${false}
                        change=${(/** @type {any} */ value) => setValues((old) => ({ ...old, [one]: value }))} />`)}
                    ${preview && html`<${preview} values=${values} />`}
                    <${FormActions} action=${action} close=${close} busy=${busy} />
                </fieldset>
            </form>
        <//>`;
}
