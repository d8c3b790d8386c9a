// Language, colours and idle time of this browser.
import { brought } from "../lib/console_files.js";
import { IDLE_MINUTES, THEMES, idleMinutes, theme } from "../lib/preferences.js";
import { useStore } from "../lib/store.js";
import { LANGUAGES, chooseLanguage, language, t, tn } from "../lib/texts.js";
import { html, useId } from "../lib/ui.js";

/** @param {{label: string, value: string, options: [string, string][],
 *           choose: (value: string) => void}} props */
function Choice({ label, value, options, choose }) {
    const id = useId();
    return html`
        <label for=${id}>${label}</label>
        <select id=${id} value=${value}
            onChange=${(/** @type {any} */ event) => choose(event.currentTarget.value)}>
            ${options.map(([key, text]) => html`
                <option key=${key} value=${key} selected=${key === value}>${text}</option>`)}
        </select>`;
}

export function LanguageChoice() {
    return html`<${Choice} label=${t("preferences/language")} value=${useStore(language)}
        options=${LANGUAGES.map((name) => [name, t(`languages/${name}`)])} choose=${(/** @type {string} */ name) => brought(() => chooseLanguage(name))} />`;
}

export function ThemeChoice() {
    return html`<${Choice} label=${t("preferences/theme")} value=${useStore(theme)}
        options=${THEMES.map((name) => [name, t(`preferences/theme_${name}`)])}
        choose=${(/** @type {string} */ name) => theme.set(name)} />`;
}

function IdleChoice() {
    return html`<${Choice} label=${t("preferences/idle")} value=${String(useStore(idleMinutes))}
        options=${IDLE_MINUTES.map((n) => [String(n), tn("preferences/minutes", n)])}
        choose=${(/** @type {string} */ minutes) => idleMinutes.set(Number(minutes))} />`;
}

export const Preferences = () => html`
    <details class="preferences">
        <summary>${t("preferences/title")}</summary>
        <div class="choices"><${LanguageChoice} /><${ThemeChoice} /><${IdleChoice} /></div>
    </details>`;
