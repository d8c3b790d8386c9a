// What a user types into a mail program, to be handed on.
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { CopyButton } from "./copy_button.js";

/** @typedef {{protocol: string, server: string, port: number, encryption: string, answers: boolean}} Server */
/** @typedef {{address: string, login: string, incoming: Server[], outgoing: Server[], self_signed: boolean}} Access */

/** @param {Server} one */
const line = ({ protocol, server, port, encryption }) => `${protocol}: ${server}, ${t("access/port")} ${port}, ${encryption}`;

/** What is switched off is told, but not handed on.
 *  @param {{access: Access}} props */
export function MailAccess({ access: { address, login, incoming, outgoing, self_signed: isOwn } }) {
    const servers = [...incoming, ...outgoing];
    const lines = [
        `${t("users/address")}: ${address}`, `${t("pages/members/login")}: ${login}`,
        ...servers.filter(({ answers }) => answers).map(line),
    ];
    const silent = servers.filter(({ answers }) => !answers);
    return html`
        <pre class="code letter">${lines.join("\n")}</pre>
        <p class="actions"><${CopyButton} text=${lines.join("\n")} label=${t("access/copy", { name: login })} /></p>
        ${silent.length > 0 && html`<p class="help">${t("access/silent", { servers: silent.map(
            ({ protocol, port }) => `${protocol} ${port}`).join(", ") })}</p>`}
        ${isOwn && html`<p class="help">${t("certificate/warned")}</p>`}`;
}
