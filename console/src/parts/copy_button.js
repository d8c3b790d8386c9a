// A button that copies a text.
import { notify } from "../lib/notices.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** @param {{text: string}} props */
export function CopyButton({ text }) {
    async function copy() {
        try {
            await navigator.clipboard.writeText(text);
            notify(t("shell/copied"));
        } catch {
            notify(t("shell/not_copied"), "bad");
        }
    }
    return html`<button type="button" onClick=${copy}>${t("shell/copy")}</button>`;
}
