// The frame around every page: navigation, the page itself, and what lies over it.
import { arrival, route } from "../lib/router.js";
import { session } from "../lib/session.js";
import { useStore } from "../lib/store.js";
import { t } from "../lib/texts.js";
import { html, useEffect, useState } from "../lib/ui.js";
import { PAGES } from "../pages.js";
import { Page } from "../parts/page.js";
import { checkInBackground } from "../lib/self_check.js";
import { Boundary } from "./boundary.js";
import { IdleWarning } from "./idle_warning.js";
import { Navigation } from "./navigation.js";
import { Palette } from "./palette.js";
import { SignInAgain } from "./sign_in.js";
import { Unconfirmed } from "./unconfirmed.js";

const rowOf = (/** @type {string} */ name) => PAGES.find((page) => page.route === (name || PAGES[0].route));
arrival.prepare = async (name) => rowOf(name)?.view.prepare?.();

export function Console() {
    const { name } = useStore(route);
    const { user, state } = useStore(session);
    const [turn, setTurn] = useState(0);
    useEffect(checkInBackground, [user]);
    const row = rowOf(name);
    return html`
        <div class="console" inert=${state === "locked"} key=${user}>
            <button type="button" class="skip" onClick=${focusPage}>${t("shell/skip")}</button>
            <${Navigation} />
            <main>
                <${Unconfirmed} page=${name} takenBack=${() => setTurn(turn + 1)} />
                <${Boundary} key=${`${name} ${turn}`}>
                    ${row ? html`<${row.view} title=${row.title} />` : html`<${NoPage} />`}
                <//>
            </main>
        </div>
        ${state === "locked" && html`<${SignInAgain} />`}
        <${Palette} />
        <${IdleWarning} />`;
}

function focusPage() {
    document.querySelector("h1")?.focus();
}

const NoPage = () => html`
    <${Page} title=${t("shell/no_page")}><p><a href="#/">${t("shell/to_overview")}</a></p><//>`;
