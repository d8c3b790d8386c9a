// The brand, the pages in their groups, and who is signed in. On narrow screens all of it opens on
// demand.
import { route } from "../lib/router.js";
import { checkResult, problemsOf } from "../lib/self_check.js";
import { session, signOut } from "../lib/session.js";
import { mayLeave } from "../lib/guard.js";
import { useStore } from "../lib/store.js";
import { t, tn } from "../lib/texts.js";
import { classes, html, useEffect, useState } from "../lib/ui.js";
import { GROUPS, PAGES } from "../pages.js";
import { FindButton } from "./palette.js";
import { Preferences } from "./preferences.js";

export function Navigation() {
    const { name } = useStore(route);
    const { user } = useStore(session);
    const [isOpen, setOpen] = useState(false);
    useEffect(() => setOpen(false), [name]);
    return html`
        <header class="side">
            <div class="brand">
                <a href="#/">mailvane</a>
                <${FindButton} />
                <button type="button" class="menu" aria-expanded=${isOpen} aria-controls="menu"
                    onClick=${() => setOpen(!isOpen)}>${t("shell/menu")}</button>
            </div>
            <div id="menu" class=${classes("drawer", isOpen && "open")}>
                <nav aria-label=${t("shell/pages")}>
                    ${GROUPS.map((group) => html`<${Group} group=${group} current=${name} key=${group} />`)}
                </nav>
                <div class="account">
                    <${Preferences} />
                    <p class="who">${t("shell/signed_in_as")} <b>${user || t("sign_in/owner")}</b></p>
                    <button type="button" onClick=${leave}>${t("shell/sign_out")}</button>
                </div>
            </div>
        </header>`;
}

async function leave() {
    if (await mayLeave()) signOut("session/signed_out");
}

/** @param {{group: string, current: string}} props */
function Group({ group, current }) {
    const rows = PAGES.filter((page) => page.group === group);
    const shown = PAGES.find((page) => page.route === current)?.within ?? (current || PAGES[0].route);
    if (!rows.length) return null;

    return html`
        <h2 id=${`group-${group}`}>${t(`navigation/${group}`)}</h2>
        <ul aria-labelledby=${`group-${group}`}>
            ${rows.map((page) => html`
                <li key=${page.route}>
                    <a href=${`#/${page.route}`}
                        aria-current=${page.route === shown ? "page" : undefined}>
                        ${t(page.title)}
                        ${page.route === "self_check" && html`<${Problems} />`}
                    </a>
                </li>`)}
        </ul>`;
}

/** How many checks found something, beside the name of their page. */
function Problems() {
    const { rows } = useStore(checkResult);
    const count = problemsOf(rows).length;
    return count > 0 && html`
        <span class="count" aria-hidden="true">${count}</span>
        <span class="unseen">, ${tn("self_check/problems", count)}</span>`;
}
