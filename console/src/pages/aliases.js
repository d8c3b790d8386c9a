// The list of aliases with their members.
import { membersIn } from "../lib/alias_members.js";
import { tn } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { listPage } from "../parts/list_page.js";
import { Member } from "../parts/member.js";

const TOLD = 12;  // members of a row

/** @param {{value: string}} props */
function Members({ value }) {
    const members = membersIn(value);
    return html`
        <span class="members">${members.slice(0, TOLD).map((member) => html`<${Member} member=${member} />`)}
            ${members.length > TOLD && html`<span>${tn("lists/more", members.length - TOLD)}</span>`}
            ${!members.length && "–"}</span>`;
}

export const Aliases = listPage("aliases", { editor: "alias", cells: { alias_member: Members } });
