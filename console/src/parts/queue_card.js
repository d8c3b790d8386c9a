// How much mail waits and is kept aside, for the overview.
import { call } from "../lib/call.js";
import { number, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Shown } from "./loading.js";
import { when } from "./mail_parts.js";

export function QueueCard() {
    const loaded = useLoad(async (signal) => {
        const [queue, kept] = await Promise.all(["queue_list", "quarantine_list"].map(
            (list) => call(list, { limit: 1 }, { signal })));
        return { queue, kept };
    }, []);
    return html`
        <section class="card">
            <div class="card-head"><h2>${t("queue/waiting")}</h2></div>
            <${Shown} loaded=${loaded} lines=${1}>${(/** @type {any} */ { queue, kept }) => html`
                <dl class="figures">
                    <dt><a href="#/queue">${t("queue/title")}</a></dt>
                    <dd><b>${number(queue.total)}</b> ${queue.total > 0 && queue.messages[0] &&
                        t("queue/oldest", { time: when(queue.messages[0].arrival) })}</dd>
                    <dt><a href="#/quarantine">${t("quarantine/title")}</a></dt>
                    <dd><b>${number(kept.total)}</b></dd>
                </dl>`}<//>
        </section>`;
}
