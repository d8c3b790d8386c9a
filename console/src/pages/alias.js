// The editor of an alias: its name, its members as chips, and candidates that the server searches.
import api from "made-api";
import { ALIAS, GROUP, OUTSIDE, USER, bodyOfAlias, difference, loadMembers } from "../lib/alias_members.js";
import { call } from "../lib/call.js";
import { confirm } from "../lib/dialogs.js";
import { reasonsOf } from "../lib/failure.js";
import { fault } from "../lib/fields.js";
import { FORMATS } from "../lib/formats.js";
import { useKey } from "../lib/keys.js";
import { findRow } from "../lib/list_requests.js";
import { words } from "../lib/lists.js";
import { notify } from "../lib/notices.js";
import { go, restate, route } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useAlias } from "../lib/use_alias.js";
import { Candidates } from "../parts/candidates.js";
import { FormField, idOf } from "../parts/field.js";
import { Shown } from "../parts/loading.js";
import { Member } from "../parts/member.js";
import { askOvertaken } from "../parts/overtaken.js";
import { Page } from "../parts/page.js";
import { Problem } from "../parts/problem.js";

/** @typedef {import("../lib/alias_members.js").Member} MemberInfo */
/** @typedef {import("../lib/use_alias.js").AliasState} AliasState */

const NAME = api.lists.aliases.fields.alias_name;

export function AliasEditor() {
    const { params } = useStore(route);
    return html`<${Editor} key=${params.name} stored=${params.name ?? ""} />`;
}

/** @param {{stored: string}} props */
function Editor({ stored }) {
    const alias = useAlias(stored);
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const [error, setError] = useState("");
    const [busy, setBusy] = useState(false);

    async function save() {
        const wrong = alias.name ? fault(NAME, alias.name) : "empty";
        setError(wrong);
        if (wrong) document.getElementById(idOf("alias_name"))?.focus();
        if (busy || wrong || (!alias.count && stored)) return;

        setBusy(true);
        setFailure(null);
        try {
            await store(alias);
        } catch (fault) {
            setError(reasonsOf(fault).find(({ setting }) => setting === "aliasname")?.code ?? "");
            setFailure(fault);
        }
        setBusy(false);
    }

    useKey("s", save);
    /** @param {Event} event */
    const submit = (event) => {
        event.preventDefault();
        save();
    };
    return html`
        <${Page} title=${stored ? t("aliases/edit", { name: stored }) : t("aliases/new")}
            actions=${html`<a href="#/aliases">${t("aliases/all")}</a>`}>
            <${Shown} loaded=${alias.loaded} lines=${8}>${() => html`
                <form class="settings" onSubmit=${submit} novalidate>
                    ${failure ? html`<${Problem} failure=${failure} />` : null}
                    <fieldset disabled=${busy}>
                        <section class="card">
                            <${FormField} name="alias_name" field=${NAME} value=${alias.name} stored=${stored}
                                changed=${Boolean(stored) && alias.name !== stored} error=${error} disabled=${false}
                                change=${alias.setName} />
                        </section>
                        <${Members} alias=${alias} />
                        <${Outside} alias=${alias} />
                        <${Candidates} alias=${alias} kinds=${[USER, GROUP, ALIAS]} />
                    </fieldset>
                    <${Bar} alias=${alias} busy=${busy} />
                </form>`}<//>
        <//>`;
}

/** Shows what a save changes, and what somebody else has changed since the page was loaded.
 *  @param {AliasState} alias @param {MemberInfo[]} now @param {boolean} isGone
 *  @returns {Promise<"mine" | "theirs" | "look" | "">} */
async function agreed({ stored, name, before, changes }, now, isGone) {
    const others = difference(before, now);
    const own = html`
        ${stored && name !== stored && html`<p>${t("aliases/renamed", { before: stored, name })}</p>`}
        <${Listed} title="aliases/added" members=${changes.added} />
        <${Listed} title="aliases/removed" members=${changes.removed} />`;
    if (!isGone && !others.added.length && !others.removed.length) {
        return (await confirm({ title: t("aliases/sure"), action: t("form/save"), content: own })) ? "mine" : "";
    }
    return (await askOvertaken(t(isGone ? "aliases/gone" : "aliases/overtaken"), html`${own}
        ${!isGone && html`<${Listed} title="aliases/others_added" members=${others.added} />
            <${Listed} title="aliases/others_removed" members=${others.removed} />`}`)) || "look";
}

/** @param {{title: string, members: MemberInfo[]}} props */
const Listed = ({ title, members }) => members.length > 0 && html`
    <p><b>${t(title)}</b></p><p class="members scroll">${members.map((member) => html`<${Member} member=${member} />`)}</p>`;

/** The members as they are stored now; null when there is no such alias any more.
 *  @param {string} name @returns {Promise<MemberInfo[] | null>} */
async function membersNow(name) {
    try {
        return await loadMembers(name);
    } catch (failure) {
        if (await findRow(api.lists.aliases, { alias_name: name })) throw failure;
        return null;
    }
}

/** Saves an alias when its author agrees. What somebody else has changed meanwhile stays below the changes.
 *  @param {AliasState} alias */
async function store(alias) {
    const { stored, name, discard, loaded } = alias;
    const found = stored ? await membersNow(stored) : [];
    const isGone = found === null;
    const now = found ?? [];
    const verdict = await agreed(alias, now, isGone);
    if (!verdict) return;
    if (verdict === "look") return alias.look(now);
    if (verdict === "theirs") {
        discard();
        return isGone ? leave() : loaded.reload();
    }
    const wanted = isGone ? alias.members : alias.onto(now);
    await call("apply_alias_info", bodyOfAlias(name, isGone ? "" : stored, difference(now, wanted)));
    notify(t("lists/saved", { name }));
    discard();
    if (!stored) leave();
    else if (name !== stored) restate({ name });
    else await loaded.reload();
}

/** To the list, once nothing on the page keeps it. */
const leave = () => void requestAnimationFrame(() => go("aliases"));

/** @param {{alias: AliasState}} props */
const Members = ({ alias }) => html`
    <section class="card">
        <h2 id="members">${t("pages/members/members")} (${alias.members.length})</h2>
        ${alias.members.length ? html`<ul class="members" aria-labelledby="members">${alias.members.map((member) => html`
                <li key=${`${member.type}${member.name}`}><${Member} member=${{ ...member, status: alias.stateOf(member) }}
                    remove=${() => alias.remove(member)} /></li>`)}</ul>`
            : html`<p class="help">${t("aliases/no_members")}</p>`}
    </section>`;

/** Addresses elsewhere, which are typed or pasted.
 *  @param {{alias: AliasState}} props */
function Outside({ alias }) {
    const [text, setText] = useState("");
    const found = words(text);
    const wrong = found.find((one) => !FORMATS["outside-address"](one));

    function add() {
        if (!found.length || wrong) return;
        alias.add(found.map((name) => ({ name, type: OUTSIDE })));
        setText("");
    }

    return html`
        <section class="card">
            <h2><label for="outside">${t("aliases/outside")}</label></h2>
            <textarea id="outside" rows="2" value=${text} aria-describedby="outside-help"
                onInput=${(/** @type {any} */ event) => setText(event.currentTarget.value)} />
            <p class="help" id="outside-help">${t("lists/many")}</p>
            <p><button type="button" aria-disabled=${!found.length || Boolean(wrong)} onClick=${add}>${t("aliases/add_outside")}</button>
                ${wrong && html` <span class="error" role="status">${t("aliases/no_address", { name: wrong })}</span>`}</p>
        </section>`;
}

/** @param {{alias: AliasState, busy: boolean}} props */
function Bar({ alias, busy }) {
    if (!alias.count && alias.stored) return null;

    return html`
        <div class="save-bar">
            <p role="status">${tn("form/changes", alias.count)}</p>
            <div class="actions">
                ${busy && html`<progress aria-label=${t("form/saving")}></progress>`}
                <button type="button" onClick=${alias.discard}>${t("form/discard")}</button>
                <button class="main">${t("form/save")}</button>
            </div>
        </div>`;
}
