// Says that the page will be locked, and how to keep it open.
import { Dialog } from "../parts/dialog.js";
import { secondsLeft, stay } from "../lib/idle.js";
import { signOut } from "../lib/session.js";
import { useStore } from "../lib/store.js";
import { t, tn } from "../lib/texts.js";
import { html } from "../lib/ui.js";

export function IdleWarning() {
    const left = useStore(secondsLeft);
    return left > 0 && html`
        <${Dialog} title=${t("session/idle_title")} close=${stay}>
            <p>${tn("session/idle_soon", left)}</p>
            <p class="actions">
                <button type="button" class="main" onClick=${stay}>${t("session/stay")}</button>
                <button type="button" onClick=${() => signOut("session/signed_out")}>
                    ${t("shell/sign_out")}</button>
            </p>
        <//>`;
}
