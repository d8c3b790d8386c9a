// Asks what becomes of a change when somebody else has changed the same thing meanwhile.
import { ask } from "../lib/dialogs.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";

/** What is to hold: the change, or what is stored now; "" to look at both first.
 *  @typedef {"mine" | "theirs" | ""} Verdict */

/** @param {string} text @param {any} content what both have changed @returns {Promise<Verdict>} */
export async function askOvertaken(text, content) {
    const choice = await ask({
        title: t("form/overtaken"), text, content, action: t("form/keep_mine"), other: t("form/take_theirs"),
        leave: t("form/look"),
    });
    return choice === "action" ? "mine" : choice === "other" ? "theirs" : "";
}

/** Values beside one another.
 *  @param {{rows: {title: string, mine: string, theirs: string}[]}} props */
export const Compared = ({ rows }) => html`
    <div class="scroll"><table>
        <thead><tr><th>${t("form/setting")}</th><th>${t("form/mine")}</th><th>${t("form/theirs")}</th></tr></thead>
        <tbody>${rows.map(({ title, mine, theirs }) => html`
            <tr><th scope="row">${title}</th><td>${mine}</td><td>${theirs}</td></tr>`)}</tbody>
    </table></div>`;
