// The question that a page asks.
import { Dialog } from "../parts/dialog.js";
import { asked } from "../lib/dialogs.js";
import { useStore } from "../lib/store.js";
import { t } from "../lib/texts.js";
import { classes, html, useId, useState } from "../lib/ui.js";

export function AskedDialog() {
    const question = useStore(asked);
    return question && html`<${Asking} question=${question} key=${question.title} />`;
}

/** @param {{question: NonNullable<typeof asked.value>}} props */
function Asking({ question }) {
    const [typed, setTyped] = useState("");
    const id = useId();
    const isReady = !question.word || typed === question.word;

    /** @param {Event} event */
    function submit(event) {
        event.preventDefault();
        if (isReady) question.answer("action");
    }

    return html`
        <${Dialog} title=${question.title} close=${() => question.answer("")}>
            <form onSubmit=${submit}>
                ${question.text && html`<p>${question.text}</p>`}
                ${question.content}
                ${question.word && html`
                    <label for=${id}>${t("shell/type_word", { word: question.word })}</label>
                    <input id=${id} autocomplete="off" value=${typed}
                        onInput=${(/** @type {any} */ event) => setTyped(event.currentTarget.value)} />`}
                <p class="actions">
                    <button class=${classes("main", question.danger && "danger")} disabled=${!isReady}>
                        ${question.action}</button>
                    ${question.other && html`
                        <button type="button" disabled=${!isReady} onClick=${() => question.answer("other")}>
                            ${question.other}</button>`}
                    <button type="button" onClick=${() => question.answer("")}>
                        ${question.leave ?? t("shell/cancel")}</button>
                </p>
            </form>
        <//>`;
}
