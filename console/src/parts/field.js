// One field of a form: its title, its control, and what is to be said about it.
import { meaning } from "../lib/failure.js";
import { typed } from "../lib/fields.js";
import { localOf, secondsOf } from "../lib/moments.js";
import { hasText, number, t } from "../lib/texts.js";
import { classes, html } from "../lib/ui.js";
import { Suggested } from "./suggested.js";

/** @typedef {{name: string, field: Field, value: any, stored: any, changed: boolean, error?: string,
 *             disabled: boolean, note?: any, change: (value: any) => void}} FieldProps */

/** @param {FieldProps} props */
export function FormField(props) {
    const { name, field, changed, error, stored, note } = props;
    return html`
        <div class=${classes("field", changed && "changed", error && "wrong", props.disabled && "off")}
            tabindex=${props.disabled ? -1 : undefined}>
            <label for=${idOf(name)}>
                ${t(field.title)}
                ${changed && html`<span class="unseen"> (${t("form/changed")})</span>`}
            </label>
            <div class=${classes("control", field.type === "boolean" && "beside")}>
                <${Control} ...${props} />
                <div class="about">
                ${error && html`<p class="error" id=${`${idOf(name)}-error`}>${meaning({ code: error })}</p>`}
                ${changed && !field.secret && html`
                    <p class="was">${t("form/was", { value: shown(field, stored) })}</p>`}
                ${changed && field.warn && html`<p class="warning">${t(field.warn)}</p>`}
                <p class="help" id=${`${idOf(name)}-help`}>${help(field)}</p>
                ${note}
                </div>
            </div>
        </div>`;
}

/** @param {string} name */
export const idOf = (name) => `field-${name}`;

/** Puts the focus on a control; on all that is said of it, while it has no effect.
 *  @param {string} name */
export function focusField(name) {
    const control = /** @type {HTMLInputElement | null} */ (document.getElementById(idOf(name)));
    const target = control?.disabled ? /** @type {HTMLElement | null} */ (control.closest(".field")) : control;
    target?.scrollIntoView({ block: "center" });
    target?.focus();
}

/** @param {FieldProps} props */
function Control({ name, field, value, stored, error, disabled, change }) {
    const common = {
        "id": idOf(name), "name": name, disabled,
        "aria-describedby": classes(error && `${idOf(name)}-error`, `${idOf(name)}-help`),
        "aria-invalid": error ? "true" : undefined,
    };
    const take = (/** @type {any} */ event) => change(typed(field, event.currentTarget.value));
    if (field.type === "boolean") {
        return html`<input ...${common} type="checkbox" role="switch" checked=${Boolean(value)}
            onChange=${(/** @type {any} */ event) => change(event.currentTarget.checked)} />`;
    }
    if (field.choices) {
        return html`<select ...${common} value=${value} onChange=${take}>
            ${field.choices.map(([key, text]) => html`
                <option key=${key} value=${key} selected=${key === value}>${t(text)}</option>`)}
        </select>`;
    }
    if (field.type === "integer") {
        return html`<span class="with-unit">
            <input ...${common} inputmode="numeric" class="number" autocomplete="off" value=${value} onInput=${take} />
            ${field.unit && html`<span>${t(`settings/units/${field.unit}`)}</span>`}
        </span>`;
    }
    if (field.format === "pem") return html`<${Pem} common=${common} title=${t(field.title)} value=${value} change=${change} />`;
    if (field.secret) {
        return html`<input ...${common} type="password" autocomplete="new-password"
            placeholder=${stored === undefined ? "" : t("form/secret")} value=${value === field.mask ? "" : value} onInput=${take} />`;
    }
    if (field.format === "text") return html`<textarea ...${common} rows="6" value=${value} onInput=${take} />`;
    if (field.format === "seconds") return html`<${Moment} common=${common} value=${value} change=${change} />`;
    return html`<${Suggested} common=${common} format=${field.format} value=${value} take=${take} />`;
}

/** A text of a certificate or a key: pasted, or from a file.
 *  @param {{common: any, title: string, value: string, change: (value: string) => void}} props */
const Pem = ({ common, title, value, change }) => html`
    <textarea ...${common} class="pem" rows="4" spellcheck=${false} autocomplete="off" value=${value}
        onInput=${(/** @type {any} */ event) => change(event.currentTarget.value)} />
    <input type="file" aria-label=${t("form/file", { title })} onChange=${async (/** @type {any} */ event) => {
        const [file] = event.currentTarget.files;
        if (file) change(await file.text());
    }} />`;

/** A moment, as the clock of this browser has it.
 *  @param {{common: any, value: string, change: (value: string) => void}} props */
const Moment = ({ common, value, change }) => html`
    <input ...${common} type="datetime-local" value=${localOf(value)}
        onInput=${(/** @type {any} */ event) => change(secondsOf(event.currentTarget.value))} />`;

/** @param {Field} field */
function help(field) {
    const limits = field.type === "integer" && !field.choices && field.min !== undefined && field.max !== undefined
        ? t("form/limits", { min: plain(field.min), max: plain(field.max) }) : "";
    const form = `formats/${field.format}`;
    const lengths = (field.minLength ?? 0) > 1 ? t("form/lengths", { min: plain(field.minLength ?? 0), max: plain(field.maxLength ?? 0) }) : "";
    return [field.help && t(field.help), hasText(form) && t(form), limits, lengths].filter(Boolean).join(" ");
}

/** Ports and the like are read without separators.
 *  @param {number} value */
const plain = (value) => number(value, { useGrouping: value >= 100_000 });

/** A value as people read it.
 *  @param {Field} field @param {any} value */
export function shown(field, value) {
    if (field.type === "boolean") return t(value ? "form/on" : "form/off");
    const choice = field.choices?.find(([key]) => key === value);
    if (choice) return t(choice[1]);
    if (field.format === "seconds" && Number(value) > 0) return localOf(value).replace("T", " ");
    return value === "" ? t("form/empty") : String(value);
}
