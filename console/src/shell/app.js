// The whole page: the form to sign in, or the console of whoever has signed in.
import { session } from "../lib/session.js";
import { useStore } from "../lib/store.js";
import { language } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { Boundary } from "./boundary.js";
import { Console } from "./console.js";
import { AskedDialog } from "./asked_dialog.js";
import { Notices } from "./notice_list.js";
import { SignInPage } from "./sign_in.js";

export function App() {
    const { state } = useStore(session);
    useStore(language);
    return html`
        <${Boundary}>${state === "out" ? html`<${SignInPage} />` : html`<${Console} />`}<//>
        <${AskedDialog} />
        <${Notices} />`;
}
