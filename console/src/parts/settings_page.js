// A page of settings, made from its description.
import { ask } from "../lib/dialogs.js";
import { meaning, reasonsOf, subject } from "../lib/failure.js";
import { missingFor } from "../lib/fields.js";
import { lastChangeOf } from "../lib/history.js";
import { useKey } from "../lib/keys.js";
import { notify } from "../lib/notices.js";
import { restate, route } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { t, tn } from "../lib/texts.js";
import { html, useEffect, useRef } from "../lib/ui.js";
import { useSettings } from "../lib/use_settings.js";
import { FormField, focusField, idOf, shown } from "./field.js";
import { Shown } from "./loading.js";
import { when } from "./mail_parts.js";
import { Compared, askOvertaken } from "./overtaken.js";
import { Page } from "./page.js";
import { SaveBar } from "./save_bar.js";

/** What a page adds to its description:
 *  - `top`: a component above the form, with what is stored and what is changed
 *  - `beside`: components below the groups, by the group's name
 *  - `choices`: the choices of a field that this machine has
 *  - `confirm`: the names of changes that are asked about
 *  - `before`: asks whatever else is to be asked before a save
 *  - `given`: whose settings they are, as members of the requests; `lead`: what stands below the title
 *  @typedef {{top?: any, beside?: Record<string, any>, confirm?: (draft: any) => string[],
 *             before?: (draft: any, stored: any) => Promise<boolean>, given?: Record<string, any>, lead?: any,
 *             choices?: (name: string, stored: any) => (string | number)[] | undefined}} Additions */

/** @typedef {import("../lib/fields.js").Missing} Missing */

/** The component of a page of settings.
 *  @param {string} name @param {Additions} [additions] */
export const settingsPage = (name, additions = {}) => () =>
    html`<${SettingsPage} key=${name} name=${name} additions=${additions} />`;

/** @param {{name: string, additions: Additions}} props */
export function SettingsPage({ name, additions }) {
    const settings = useSettings(name, {
        arbiter: (names, now) => arbitrate(settings, names, now),
        before: async (draft) => (await confirmed(settings, draft, additions.confirm?.(draft) ?? [])) &&
            (await additions.before?.(draft, settings.stored)) !== false,
    }, additions.given);
    const { loaded, stored, draft, savingSince, outcome } = settings;
    const isDirty = Object.keys(draft).length > 0;
    const form = useRef(/** @type {HTMLFormElement | null} */ (null));

    async function save() {
        if (savingSince || !isDirty) return;
        const wrong = await settings.save();
        if (wrong.length) requestAnimationFrame(() => focusField(wrong[0]));
    }

    useEffect(() => {
        if (outcome?.kind === "saved") notify(t("form/saved"));
    }, [outcome]);
    useKey("s", save);
    useNamedField(stored !== undefined);

    /** @param {Event} event */
    const submit = (event) => {
        event.preventDefault();
        save();
    };
    return html`
        <${Page} title=${t(`pages/pages/${name}`)} lead=${additions.lead}>
            <${Shown} loaded=${loaded} lines=${12}>${() => html`
                <form ref=${form} class="settings" onSubmit=${submit} novalidate>
                    ${additions.top && html`<${additions.top} stored=${stored} draft=${draft} />`}
                    <${Outcome} settings=${settings} />
                    <fieldset class="all" disabled=${savingSince > 0}>
                        ${groupsOf(settings.about).map((group) => html`
                            <${Group} key=${group} group=${group} settings=${settings} additions=${additions} />`)}
                    </fieldset>
                    <${SaveBar} settings=${settings} />
                </form>`}
            <//>
        <//>`;
}

/** Puts the focus on the field that the address names, once it is there; the address then forgets it.
 *  @param {boolean} isThere */
function useNamedField(isThere) {
    const { params } = useStore(route);
    useEffect(() => {
        if (!params.at || !isThere) return;
        focusField(params.at);
        restate({ ...params, at: "" });
    }, [params.at, isThere]);
}

/** @param {PageAbout} about */
const groupsOf = (about) => [...new Set(Object.values(about.fields).map(({ group }) => group ?? ""))];

/** @param {{group: string, settings: any, additions: Additions}} props */
function Group({ group, settings, additions }) {
    const { about, stored, reload, draft } = settings;
    const names = Object.keys(about.fields).filter((name) => (about.fields[name].group ?? "") === group);
    const Beside = additions.beside?.[group];
    return html`
        <section class="card">
            ${group && html`<h2>${t(`settings/groups/${group}`)}</h2>`}
            ${names.map((name) => html`
                <${OneField} key=${name} name=${name} settings=${settings} additions=${additions} />`)}
            ${Beside && html`<${Beside} stored=${stored} draft=${draft} reload=${reload} />`}
        </section>`;
}

/** @param {{name: string, settings: any, additions: Additions}} props */
function OneField({ name, settings, additions }) {
    const { about, stored, draft, errors, change } = settings;
    const values = { ...stored, ...draft };
    const missing = missingFor(name, { ...about.elsewhere, ...about.fields }, values);
    return html`<${FormField} name=${name} field=${offered(about.fields[name], name, stored, additions)}
        value=${values[name]} stored=${stored[name]} changed=${name in draft} error=${errors[name]}
        disabled=${missing.length > 0} change=${(/** @type {any} */ value) => change(name, value)}
        note=${missing.length > 0 && html`<${Needs} about=${about} missing=${missing[0]} />`} />`;
}

/** The field with the choices that this machine has, and the one that is stored.
 *  @param {Field} field @param {string} name @param {any} stored @param {Additions} additions */
function offered(field, name, stored, { choices }) {
    const values = choices?.(name, stored);
    return values ? { ...field, choices: field.choices?.filter(
        ([value]) => values.includes(value) || value === stored[name]) } : field;
}

/** Says what a field needs to have an effect.
 *  @param {{about: PageAbout, missing: Missing}} props */
function Needs({ about, missing: { name, wanted } }) {
    const elsewhere = about.elsewhere[name];
    const field = elsewhere ?? about.fields[name];
    return html`<p class="needs">${t("form/needs", { title: t(field.title), value: shown(field, wanted) })}
        ${elsewhere && html` <a href=${`#/${elsewhere.page}`}>${t(`pages/pages/${elsewhere.page}`)}</a>`}</p>`;
}

/** How the last save ended, where that was not simply well.
 *  @param {{settings: any}} props */
function Outcome({ settings }) {
    const { outcome, about } = settings;
    if (!outcome || outcome.kind === "saved") return null;

    const reasons = reasonsOf(outcome.failure);
    const titles = (outcome.stored ?? []).map((/** @type {string} */ name) => t(about.fields[name].title));
    return html`
        <div class="problem" role="alert">
            <p><b>${t(`form/${outcome.kind}`, { stored: titles.join(", ") })}</b></p>
            <ul>${reasons.map((reason) => html`<li>
                ${reason.setting && about.fields[reason.setting]
                    ? html`<a href=${`#${idOf(reason.setting)}`} onClick=${toField}>${subject(reason)}</a>`
                    : html`<b>${subject(reason)}</b>`}: ${meaning(reason)}</li>`)}</ul>
            ${!reasons.length && outcome.kind === "failed" && html`<p>${t("form/no_reason")}</p>`}
        </div>`;
}

/** @param {MouseEvent} event */
function toField(event) {
    event.preventDefault();
    const target = /** @type {HTMLAnchorElement} */ (event.currentTarget).hash.slice(1);
    document.getElementById(target)?.focus();
}

/** Asks about settings that somebody else has changed since the page was loaded.
 *  @param {any} settings @param {string[]} names @param {any} now */
async function arbitrate({ about, draft }, names, now) {
    const last = await lastChangeOf(names).catch(() => undefined);
    const text = last?.who ? t("form/overtaken_by", { who: last.who, time: when(last.date) }) : t("form/overtaken_text");
    return askOvertaken(text, html`<${Compared} rows=${names.map((name) => ({
        title: t(about.fields[name].title), mine: shown(about.fields[name], draft[name]),
        theirs: shown(about.fields[name], now[name]),
    }))} />`);
}

/** Asks before changes that do more than a setting.
 *  @param {any} settings @param {any} draft @param {string[]} asked */
async function confirmed({ about }, draft, asked) {
    return !asked.length || (await ask({
        title: tn("form/sure", asked.length),
        content: html`<ul>${asked.map((name) => html`<li>
            <b>${t(about.fields[name].title)}: ${shown(about.fields[name], draft[name])}</b><br />
            ${about.fields[name].warn && t(about.fields[name].warn)}</li>`)}</ul>`,
        action: t("form/save"), danger: true,
    })) === "action";
}
