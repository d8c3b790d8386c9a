// What the mail server has written of a message.
import { call } from "../lib/call.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Shown } from "./loading.js";

/** @param {{id: string}} props of the message, or of its place in the queue */
export function LogLines({ id }) {
    const loaded = useLoad((signal) => call("log_lines", { id }, { signal }), [id]);
    return html`
        <h2 class="sub">${t("log_lines/title")}</h2>
        <${Shown} loaded=${loaded} lines=${3}>${(/** @type {any} */ { lines, cut, whole, since }) => html`
            ${lines.length > 0 && html`<pre class="code lines" tabindex="0" role="group" aria-label=${t("log_lines/title")}>${lines.join("\n")}</pre>`}
            ${!lines.length && html`<p class="help">${t("log_lines/none")}</p>`}
            ${(cut || !whole) && html`<p class="help">${t(cut ? "log_lines/cut" : "log_lines/since", { since })}</p>`}`}<//>`;
}
