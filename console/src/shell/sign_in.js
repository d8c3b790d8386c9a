// The form to sign in: as a page of its own, and over a page whose login has ended.
import { Dialog } from "../parts/dialog.js";
import { sentence } from "../lib/failure.js";
import { isSafeToSignIn, session, signIn, signInByBrowser, signOut } from "../lib/session.js";
import { useStore } from "../lib/store.js";
import { t } from "../lib/texts.js";
import { html, useEffect, useRef, useState } from "../lib/ui.js";
import { LanguageChoice, ThemeChoice } from "./preferences.js";

/** @param {{user: string, fixed?: boolean}} props fixed: the name cannot be changed */
function SignInForm({ user, fixed = false }) {
    const [failure, setFailure] = useState("");
    const [busy, setBusy] = useState(false);
    const form = useRef(/** @type {HTMLFormElement | null} */ (null));
    const field = (/** @type {string} */ name) =>
        /** @type {HTMLInputElement} */ (form.current?.elements.namedItem(name));
    useEffect(() => field(user ? "password" : "user").focus(), []);

    /** @param {() => Promise<void>} enter @param {string} wrong what is said when nobody is known by it */
    async function attempt(enter, wrong) {
        setBusy(true);
        try {
            await enter();
        } catch (fault) {
            setFailure(said(fault, wrong));
            setBusy(false);
            field("password")?.select();
        }
    }

    /** @param {Event} event */
    function submit(event) {
        event.preventDefault();
        attempt(() => signIn(field("user").value, field("password").value), "sign_in/wrong");
    }

    return html`
        <form ref=${form} class="sign-in-form" onSubmit=${submit}>
            <label for="user">${t("sign_in/user")}</label>
            <input id="user" name="user" autocomplete="username" autocapitalize="none" required
                spellcheck=${false} defaultValue=${user} readonly=${fixed && user !== ""} />
            <label for="password">${t("sign_in/password")}</label>
            <input id="password" name="password" type="password" autocomplete="current-password"
                required aria-describedby="sign-in-failure" />
            <p id="sign-in-failure" class="error" role="alert">${failure}</p>
            <button class="main" aria-disabled=${busy}>${t("sign_in/sign_in")}</button>
            ${location.protocol === "https:" && html`
                <button type="button" class="link" aria-disabled=${busy}
                    onClick=${() => attempt(signInByBrowser, "sign_in/no_certificate")}>${t("sign_in/certificate")}</button>`}
        </form>`;
}

/** @param {any} failure @param {string} wrong */
const said = (failure, wrong) => (failure.word === "unauthorized" ? t(wrong) : sentence(failure));

export function SignInPage() {
    const { why } = useStore(session);
    useEffect(() => void (document.title = `${t("sign_in/title")} – mailvane`));
    return html`
        <main class="sign-in">
            <h1>mailvane</h1>
            <p class="lead">${t("sign_in/lead")}</p>
            ${why && html`<p role="status" class="note">${t(why)}</p>`}
            ${isSafeToSignIn()
                ? html`<${SignInForm} user="" />`
                : html`<p class="problem" role="alert">${t("sign_in/unsafe")}</p>`}
            <div class="choices"><${LanguageChoice} /><${ThemeChoice} /></div>
        </main>`;
}

/** Over the page, which it hides from whoever comes along. The draft below stays. */
export function SignInAgain() {
    const { user, why } = useStore(session);
    return html`
        <${Dialog} title=${t("sign_in/again")} opaque>
            <p>${t(why)}</p>
            <${SignInForm} user=${user} fixed />
            <p><button type="button" class="link" onClick=${() => signOut()}>
                ${t("sign_in/as_other")}</button></p>
        <//>`;
}
