// Who may become a member of an alias: users, groups and aliases, searched and paged in the server.
import { KINDS } from "../lib/alias_members.js";
import { candidates } from "../lib/candidates.js";
import { t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Shown } from "./loading.js";
import { Pager } from "./pager.js";
import { SearchBox } from "./search_box.js";

const ROWS = 20;  // of a page

/** @typedef {import("../lib/candidates.js").Candidate} Candidate */

/** @param {{alias: import("../lib/use_alias.js").AliasState, kinds: number[]}} props */
export function Candidates({ alias, kinds }) {
    const [kind, setKind] = useState(kinds[0]);
    const [query, setQuery] = useState("");
    const [page, setPage] = useState(1);
    const loaded = useLoad((signal) => candidates(kind, { query, start: (page - 1) * ROWS, limit: ROWS }, signal),
        [kind, query, page]);
    const turn = (/** @type {() => void} */ change) => {
        setPage(1);
        change();
    };
    return html`
        <section class="card" aria-labelledby="candidates">
            <div class="card-head">
                <h2 id="candidates">${t("aliases/candidates")}</h2>
                <div class="segments" role="group" aria-labelledby="candidates">${kinds.map((one) => html`
                    <button type="button" key=${one} aria-pressed=${one === kind} onClick=${() => turn(() => setKind(one))}>
                        ${t(`pages/choices/member.${KINDS[one]}`)}</button>`)}</div>
            </div>
            <div class="list-head">
                <${SearchBox} value=${query} search=${(/** @type {string} */ text) => turn(() => setQuery(text))} />
                <p class="count-line" role="status">${loaded.data && tn(query ? "lists/found" : "lists/total", loaded.data.total)}</p>
            </div>
            <${Shown} loaded=${loaded} lines=${4}>${(/** @type {any} */ { items, total }) => html`
                <ul class="chips" aria-busy=${loaded.loading}>${items.map((/** @type {Candidate} */ one) => html`
                    <li key=${one.name}><${Choice} alias=${alias} candidate=${one} type=${kind} /></li>`)}</ul>
                <${Pager} page=${page} pages=${Math.ceil(total / ROWS)} turn=${setPage} />`}<//>
        </section>`;
}

/** The states of candidates that are worth a word, by the action's number.
 *  @type {Record<number, string>} */
const DOUBTS = { 2: "expired", 3: "no_address", 4: "bad_member" };

/** @param {{alias: import("../lib/use_alias.js").AliasState, candidate: Candidate, type: number}} props */
function Choice({ alias, candidate: { name, status = 1 }, type }) {
    const member = { name, type };
    return html`
        <label class="chip"><input type="checkbox" checked=${alias.has(member)}
            onChange=${() => (alias.has(member) ? alias.remove(member) : alias.add([member]))} /> ${name}
            ${DOUBTS[status] && html`<small class="warning">${t(`pages/choices/account.${DOUBTS[status]}`)}</small>`}</label>`;
}
