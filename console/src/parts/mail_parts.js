// What a message shows: its dates, its size, its recipients, its header.
import { moment, t, tn } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** @param {number} seconds since 1970 */
export const when = (seconds) => moment(new Date(seconds * 1000), { dateStyle: "short", timeStyle: "short" });

/** The sender of an envelope; notices about other mail have none.
 *  @param {string} address */
export const sender = (address) => address || html`<i>${t("mail/no_sender")}</i>`;

/** @param {number} shown @param {number} count */
export const more = (shown, count) => count > shown && html`<small>${tn("lists/more", count - shown)}</small>`;

/** @param {{headers: {name: string, value: string}[], cut?: boolean}} props */
export const Headers = ({ headers, cut }) => html`
    <dl class="facts headers">${headers.map(({ name, value }) => html`<dt>${name}</dt><dd>${value || "–"}</dd>`)}</dl>
    ${cut && html`<p class="help">${t("mail/cut")}</p>`}`;
