// What this is, in which version, and whose work is in it.
import site from "made-site";
import { call } from "../lib/call.js";
import { session } from "../lib/session.js";
import { useStore } from "../lib/store.js";
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";

export function About() {
    const { user } = useStore(session);
    const source = useLoad((signal) => call("get_account_type", {}, { signal }), []);
    return html`
        <${Page} title=${t("about/title")}>
            <section class="card">
                <dl class="facts">
                    <dt>${t("about/version")}</dt><dd>${site.version}</dd>
                    <dt>${t("about/server")}</dt><dd>${location.host}</dd>
                    <dt>${t("shell/signed_in_as")}</dt><dd>${user || t("sign_in/owner")}</dd>
                    <dt>${t("settings/titles/account_type")}</dt>
                    <dd><${Shown} loaded=${source} lines=${1}>${(/** @type {any} */ { accountType }) =>
                        t(`settings/choices/account_type.${accountType}`)}<//></dd>
                </dl>
            </section>
            <section class="card">
                <h2>${t("about/libraries")}</h2>
                <p>${t("about/made_with")} <a href=${site.licences} target="_blank" rel="noopener">${t("about/licences")}</a></p>
            </section>
        <//>`;
}
