// Starts the console. Whatever fails is said on the page: it is never blank.
import { App } from "./shell/app.js";
import { notify } from "./lib/notices.js";
import { sentence } from "./lib/failure.js";
import { firstLanguage, speak } from "./lib/texts.js";
import { html, render } from "./lib/ui.js";

const place = /** @type {HTMLElement} */ (document.getElementById("app"));

window.addEventListener("unhandledrejection", (event) => notify(sentence(event.reason), "bad"));
window.addEventListener("error", (event) => notify(sentence(event.message), "bad"));

try {
    await speak(firstLanguage());
    render(html`<${App} />`, place);
} catch (fault) {
    place.textContent = `The console cannot start: ${fault}. Load the page again.`;
}
