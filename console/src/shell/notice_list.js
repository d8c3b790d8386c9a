// Short messages in the corner. The regions are always there, so that screen readers tell what comes.
import { dismiss, notices } from "../lib/notices.js";
import { useStore } from "../lib/store.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

export function Notices() {
    const all = useStore(notices);
    return html`
        <div class="notices">
            <div role="status">${shown(all, "good")}</div>
            <div role="alert">${shown(all, "bad")}</div>
        </div>`;
}

/** @param {import("../lib/notices.js").Notice[]} all @param {string} wanted */
const shown = (all, wanted) => all.filter(({ kind }) => kind === wanted).map(({ id, text, kind }) => html`
    <p key=${id} class=${`notice ${kind}`}>
        <span>${text}</span>
        <button type="button" class="plain" aria-label=${t("shell/close")} onClick=${() => dismiss(id)}>×</button>
    </p>`);
