// The way through the pages of a list.
import { number, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** @param {{page: number, pages: number, turn: (page: number) => void}} props */
export function Pager({ page, pages, turn }) {
    if (pages <= 1) return null;

    /** @param {string} name @param {number} target @param {boolean} isPossible */
    const button = (name, target, isPossible) => html`
        <button type="button" aria-disabled=${!isPossible} onClick=${() => isPossible && turn(target)}>
            ${t(`pager/${name}`)}</button>`;
    return html`
        <nav class="pager" aria-label=${t("pager/pages")}>
            ${button("first", 1, page > 1)} ${button("previous", page - 1, page > 1)}
            <span role="status">${t("pager/at", { page: number(page), pages: number(pages) })}</span>
            ${button("next", page + 1, page < pages)} ${button("last", pages, page < pages)}
        </nav>`;
}
