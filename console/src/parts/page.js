// What every page has: its heading, which gets the focus when the page comes, and the window's title.
import { html, useEffect, useRef } from "../lib/ui.js";

let isFirst = true;

/** `actions` are buttons beside the heading.
 *  @param {{title: string, lead?: any, actions?: any, children?: any}} props */
export function Page({ title, lead, actions, children }) {
    const heading = useRef(/** @type {HTMLElement | null} */ (null));
    useEffect(() => void (document.title = `${title} – mailvane`), [title]);
    useEffect(() => {
        if (!isFirst) heading.current?.focus();
        isFirst = false;
    }, []);
    return html`
        <div class="page-head">
            <h1 ref=${heading} tabindex="-1">${title}</h1>
            ${actions && html`<div class="actions">${actions}</div>`}
        </div>
        ${lead && html`<p class="lead">${lead}</p>`}
        ${children}`;
}
