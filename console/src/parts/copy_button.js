// A button that copies a text.
import { notify } from "../lib/notices.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** @param {{text: string, label?: string}} props label: what is copied, where there are several */
export function CopyButton({ text, label }) {
    async function copy() {
        try {
            await navigator.clipboard.writeText(text);
            notify(t("shell/copied"));
        } catch {
            notify(t("shell/not_copied"), "bad");
        }
    }
    return html`<button type="button" aria-label=${label} onClick=${copy}>${t("shell/copy")}</button>`;
}
