// The step that a change under way is at, asked for once a second.
import { call, pause } from "../lib/call.js";
import { hasText, number, t } from "../lib/texts.js";
import { html, useEffect, useState } from "../lib/ui.js";

const POLL = 1000;  // ms

/** @typedef {{running: boolean, step: number, of: number, name: string}} Progress */

export function Step() {
    const [progress, setProgress] = useState(/** @type {Progress | null} */ (null));
    useEffect(() => {
        const controller = new AbortController();
        watch(controller.signal, setProgress);
        return () => controller.abort();
    }, []);
    if (!progress?.running) return null;

    const { step, of, name } = progress;
    return html`<p class="help step">${of > 0 && t("progress/at", { step: number(step), of: number(of) })} ${said(name)}</p>`;
}

/** @param {AbortSignal} signal @param {(progress: Progress) => void} tell */
async function watch(signal, tell) {
    while (!signal.aborted) {
        // While the web server restarts there is nobody to ask.
        await call("progress", {}, { signal }).then((now) => !signal.aborted && tell(now), () => {});
        await pause(POLL, signal);
    }
}

/** What a step does: a word of the package's own, or a service with what is done to it.
 *  @param {string} name */
export function said(name) {
    const own = `progress/own_${name.replaceAll(" ", "_")}`;
    if (hasText(own)) return t(own);
    const [service, verb] = [name.split(" ")[0], name.split(" ").at(-1)];
    const words = `progress/verb_${verb}`;
    const path = `reasons/services/${service}`;
    return hasText(words) ? t(words, { service: hasText(path) ? t(path) : service }) : name;
}
