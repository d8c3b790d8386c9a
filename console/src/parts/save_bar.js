// The bar at the bottom of a form that has changes: how many, and what to do with them; while they are
// saved, for how long and what is restarted.
import api from "made-api";
import { hasText, t, tn } from "../lib/texts.js";
import { html, useEffect, useState } from "../lib/ui.js";
import { Step } from "./step.js";

/** @param {{settings: any}} props */
export function SaveBar({ settings }) {
    const { draft, savingSince, discard } = settings;
    const count = Object.keys(draft).length;
    if (!count && !savingSince) return null;

    return html`
        <div class="save-bar">
            ${savingSince ? html`<${Saving} settings=${settings} />` : html`
                <p role="status">${tn("form/changes", count)}</p>
                <div class="actions">
                    <button type="button" onClick=${discard}>${t("form/discard")}</button>
                    <button class="main">${t("form/save")}</button>
                </div>`}
        </div>`;
}

/** @param {{settings: any}} props */
function Saving({ settings }) {
    const { savingSince, isLost } = settings;
    const [now, setNow] = useState(Date.now());
    useEffect(() => {
        const timer = setInterval(() => setNow(Date.now()), 1000);
        return () => clearInterval(timer);
    }, []);
    const seconds = Math.max(0, Math.round((now - savingSince) / 1000));
    const services = restarted(settings);
    return html`
        <div class="saving">
            <p role="status">${isLost ? t("form/lost") : t("form/saving")}${!isLost && services && ` ${t("form/restarts", { services })}`}</p>
            <progress aria-label=${t("form/saving")}></progress>
            <span aria-hidden="true">${tn("form/seconds", seconds)}</span>
            <${Step} />
        </div>`;
}

/** The services that a save starts anew, by their names.
 *  @param {any} settings */
function restarted({ about, draft }) {
    const names = Object.keys(draft).flatMap((name) => about.fields[name].restarts ?? []);
    const all = new Set([...names, ...(api.actions[about.save].restarts ?? [])]);
    return [...all].map((name) => `checks/titles/${name}`).filter(hasText).map((path) => t(path)).join(", ");
}
