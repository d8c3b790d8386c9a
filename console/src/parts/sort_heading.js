// A column's title, which sorts by it.
import { restate } from "../lib/router.js";
import { html } from "../lib/ui.js";

/** `sort` and `dir`, DESC or ASC: the order at present.
 *  @param {{member: string, title: string, params: Record<string, string>, sort: string, dir: string}} props */
export function SortHeading({ member, title, params, sort, dir }) {
    const isSorted = sort === member;
    const isDown = dir === "DESC";
    const next = isSorted && isDown ? "ASC" : "DESC";
    return html`
        <th scope="col" class=${`for-${member}`} aria-sort=${isSorted ? (isDown ? "descending" : "ascending") : undefined}>
            <button type="button" class="plain" onClick=${() => restate({ ...params, sort: member, dir: next, page: "" })}>
                ${title}<span aria-hidden="true">${isSorted ? (isDown ? " ↓" : " ↑") : ""}</span></button>
        </th>`;
}
