// The buttons at the end of a form in a dialog.
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** What it does, leaving it, and that it is being done.
 *  @param {{action: string, close: () => void, busy: boolean}} props */
export function FormActions({ action, close, busy }) {
    return html`
        <p class="actions">
            <button class="main">${action}</button>
            <button type="button" onClick=${close}>${t("shell/cancel")}</button>
            ${busy && html`<progress aria-label=${t("form/saving")}></progress>`}
        </p>`;
}
