// A failure in place: what happened, what it is about, and the way to try again.
import { meaning, reasonsOf, sentence, subject } from "../lib/failure.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** @param {{failure: unknown, retry?: () => void, old?: boolean}} props
 *  old: what is shown below is from before */
export function Problem({ failure, retry, old = false }) {
    return html`
        <div class="problem" role="alert">
            <p><b>${sentence(failure)}</b>${old && ` ${t("failures/old_shown")}`}</p>
            <${Reasons} reasons=${reasonsOf(failure)} />
            ${retry && html`<p><${WayOn} failure=${failure} retry=${retry} /></p>`}
        </div>`;
}

/** @param {{failure: any, retry: () => void}} props */
const WayOn = ({ failure, retry }) => (failure.kind === "outdated"
    ? html`<button type="button" onClick=${() => location.reload()}>${t("shell/reload")}</button>`
    : html`<button type="button" onClick=${retry}>${t("shell/try_again")}</button>`);

/** @param {{reasons: import("../lib/failure.js").Reason[]}} props */
export const Reasons = ({ reasons }) => reasons.length > 0 && html`
    <ul>${reasons.map((reason) => html`<li><b>${subject(reason)}</b>: ${meaning(reason)}</li>`)}</ul>`;
