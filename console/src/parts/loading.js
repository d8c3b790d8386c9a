// What stands in the place of something that is being loaded.
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { Problem } from "./problem.js";

/** @param {{lines?: number}} props how high it will be, about */
export const Skeleton = ({ lines = 6 }) => html`
    <div class="skeleton" aria-busy="true">
        <span class="unseen" role="status">${t("shell/loading")}</span>
        ${Array.from({ length: lines }, () => html`<div class="bar"></div>`)}
    </div>`;

/** What was loaded, drawn by `children`; before that a skeleton, after a failure the failure.
 *  @template T @param {{loaded: import("../lib/use_load.js").Loaded<T>, lines?: number,
 *                       children?: (data: T) => any}} props */
export function Shown({ loaded, lines, children }) {
    const { data, failure, reload } = loaded;
    return html`
        ${failure ? html`<${Problem} failure=${failure} retry=${reload} old=${data !== undefined} />` : null}
        ${data !== undefined ? children?.(data) : !failure && html`<${Skeleton} lines=${lines} />`}`;
}
