// Above every page: the change that is taken back unless somebody confirms it.
import { call } from "../lib/call.js";
import { notify } from "../lib/notices.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { when } from "../parts/mail_parts.js";
import { Problem } from "../parts/problem.js";

/** @param {{page: string, takenBack: () => void}} props
 *  page: with each one it is asked for anew; takenBack: the page shows what is not in force any more */
export function Unconfirmed({ page, takenBack }) {
    const about = useLoad((signal) => call("about", {}, { signal }), [page]);
    const [busy, setBusy] = useState(false);
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    /** @type {{number: number, who: string, until: number} | undefined} */
    const waiting = about.data?.unconfirmed;
    if (!waiting) return null;

    /** @param {"confirm" | "take_back"} deed */
    async function settle(deed) {
        if (busy) return;
        setBusy(true);
        setFailure(null);
        try {
            await call(deed, { number: waiting?.number });
            notify(t(`unconfirmed/${deed}_done`));
            if (deed === "take_back") takenBack();
        } catch (fault) {
            setFailure(fault);
        }
        await about.reload();
        setBusy(false);
    }

    const { who, until } = waiting;
    return html`
        <div class="problem" role="alert">
            <p><b>${t("unconfirmed/title")}</b> ${t("unconfirmed/text", { who, until: when(until) })}</p>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <p class="actions">
                <button type="button" class="main" aria-disabled=${busy} onClick=${() => settle("confirm")}>
                    ${t("unconfirmed/confirm")}</button>
                <button type="button" aria-disabled=${busy} onClick=${() => settle("take_back")}>
                    ${t("unconfirmed/take_back")}</button>
                ${busy && html`<progress aria-label=${t("form/saving")}></progress>`}
            </p>
        </div>`;
}
