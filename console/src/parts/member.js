// A member of an alias: its name, and of which kind it is in a sign and a word.
import { KINDS } from "../lib/alias_members.js";
import { t } from "../lib/texts.js";
import { classes, html } from "../lib/ui.js";

const SIGNS = ["●", "❖", "@", "↗"];

/** The states of accounts that get no mail, by the action's number.
 *  @type {Record<number, string>} */
const FAULTS = { 2: "expired", 3: "no_address", 4: "bad_member" };

/** @param {{member: import("../lib/alias_members.js").Member, remove?: () => void}} props */
export function Member({ member: { name, type, status }, remove }) {
    const fault = status === null ? t("aliases/left") : FAULTS[status ?? 0] && t(`pages/choices/account.${FAULTS[status ?? 0]}`);
    return html`
        <span class=${classes("member", KINDS[type], fault && "gone")}>
            <span class="sign" aria-hidden="true">${SIGNS[type]}</span> ${name}
            <small>${t(`pages/choices/member.${KINDS[type]}`)}${fault && `: ${fault}`}</small>
            ${remove && html`<button type="button" class="plain" aria-label=${t("aliases/remove", { name })} onClick=${remove}>×</button>`}
        </span>`;
}
