// A list of mail with what can be done to the chosen messages; each opens below its row.
import { confirm } from "../lib/dialogs.js";
import { useStore } from "../lib/store.js";
import { route } from "../lib/router.js";
import { number, t, tn } from "../lib/texts.js";
import { Fragment, classes, html, useState } from "../lib/ui.js";
import { Shown } from "./loading.js";
import { Pager } from "./pager.js";
import { Problem } from "./problem.js";
import { SearchBox } from "./search_box.js";
import { SortHeading } from "./sort_heading.js";

const TOLD = 10;  // messages in a question

/** @typedef {{name: string, title: string, sorts?: boolean, cell: (message: any) => any}} Column */

/** `asks`: a question comes first.
 *  @typedef {{call: string, text: string, members?: Record<string, any>, asks?: boolean}} Deed */

/** What a page says about its mail. `details`: the component of an opened message, `named`: how a message
 *  is called in a question.
 *  @typedef {{columns: Column[], deeds: Deed[], details: any, named: (message: any) => string,
 *             empty: string, takesAll?: boolean}} MailAbout */

/** @param {{state: import("../lib/use_mail.js").MailState, about: MailAbout}} props */
export function MailList({ state, about }) {
    const { loaded, q, total, shown, pages, failure } = state;
    if (loaded.data && !state.messages.length && total) state.show({ page: pages });
    return html`
        <section class="list">
            <div class="list-head">
                <${SearchBox} value=${q} search=${(/** @type {string} */ text) => state.show({ q: text })} />
                <p class="count-line" role="status">${loaded.data && tn(q ? "mail/found" : "mail/total", total)}</p>
            </div>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <${Shown} loaded=${loaded} lines=${8}>${() => html`
                ${total ? html`<${Deeds} state=${state} about=${about} /><${Table} state=${state} about=${about} />`
                    : html`<p class="card empty">${t(q ? "mail/no_match" : about.empty)}</p>`}
                <${Pager} page=${shown} pages=${pages}
                    turn=${(/** @type {number} */ to) => state.show({ page: to === 1 ? "" : to })} />`}<//>
        </section>`;
}

/** @param {{state: import("../lib/use_mail.js").MailState, about: MailAbout}} props */
function Deeds({ state, about }) {
    const { messages, total, chosen, count, isAll, q, busy } = state;
    const isPage = chosen.length === messages.length;

    /** @param {Deed} deed */
    async function act({ call, text, members, asks }) {
        const named = isAll ? [] : messages.filter(({ id }) => chosen.includes(id)).map(about.named);
        const sure = !asks || (await confirm({
            title: tn("mail/sure", count), action: t(text), danger: true, content: html`
                <ul>${named.slice(0, TOLD).map((name) => html`<li class="address">${name}</li>`)}
                    ${named.length > TOLD && html`<li>${tn("lists/more", named.length - TOLD)}</li>`}</ul>`,
        }));
        if (sure) await state.perform(call, { ...state.toChosen(), ...members });
    }

    return html`
        <div class="actions deeds" role="group" aria-label=${t("mail/deeds")}>
            <span role="status">${count ? tn("mail/chosen", count) : t("mail/none_chosen")}</span>
            ${about.deeds.map((deed) => html`
                <button type="button" key=${deed.text} class=${classes(deed.asks && "danger")} aria-disabled=${!count || busy}
                    onClick=${() => count && !busy && act(deed)}>${t(deed.text)}</button>`)}
            ${about.takesAll && isPage && !isAll && !q && total > messages.length && html`
                <button type="button" class="link" onClick=${() => state.choose(chosen, true)}>
                    ${t("mail/choose_all_pages", { n: number(total) })}</button>`}
        </div>`;
}

/** @param {{state: import("../lib/use_mail.js").MailState, about: MailAbout}} props */
function Table({ state, about }) {
    const { params } = useStore(route);
    const { messages, chosen, choose, loaded, sort, dir } = state;
    const [open, setOpen] = useState("");
    const isPage = chosen.length === messages.length;
    return html`
        <table class="rows listed mail" aria-busy=${loaded.loading}>
            <thead><tr>
                <th scope="col" class="for-choice"><input type="checkbox" aria-label=${t("mail/choose_all")} checked=${isPage}
                    onChange=${() => choose(isPage ? [] : messages.map(({ id }) => id))} /></th>
                ${about.columns.map(({ name, title, sorts }) => (sorts
                    ? html`<${SortHeading} key=${name} member=${name} title=${t(title)} params=${params} sort=${sort} dir=${dir} />`
                    : html`<th scope="col" key=${name} class=${`for-${name}`}>${t(title)}</th>`))}
                <th scope="col" class="for-more"><span class="unseen">${t("mail/open")}</span></th>
            </tr></thead>
            <tbody>${messages.map((one) => html`
                <${Message} key=${one.id} message=${one} about=${about} state=${state} isOpen=${open === one.id}
                    turn=${() => setOpen(open === one.id ? "" : one.id)} />`)}</tbody>
        </table>`;
}

/** @param {{message: any, about: MailAbout, state: import("../lib/use_mail.js").MailState, isOpen: boolean,
 *           turn: () => void}} props */
function Message({ message, about, state, isOpen, turn }) {
    const { chosen, choose } = state;
    const { id } = message;
    const isChosen = chosen.includes(id);
    return html`<${Fragment}>
        <tr class=${classes(isChosen && "chosen")}>
            <td class="for-choice"><input type="checkbox" class="choose" checked=${isChosen}
                aria-label=${t("mail/choose", { name: about.named(message) })}
                onChange=${() => choose(isChosen ? chosen.filter((one) => one !== id) : [...chosen, id])} /></td>
            ${about.columns.map(({ name, title, cell }) => html`
                <td key=${name} class=${`for-${name}`} data-label=${t(title)}><div>${cell(message)}</div></td>`)}
            <td class="for-more"><button type="button" class="plain more" aria-expanded=${isOpen}
                aria-label=${t("mail/open_named", { name: about.named(message) })} onClick=${turn}>
                <span aria-hidden="true">${isOpen ? "▴" : "▾"}</span></button></td>
        </tr>
        ${isOpen && html`<tr class="details"><td colspan=${about.columns.length + 2}>
            <${about.details} message=${message} /></td></tr>`}<//>`;
}
