// Pages whose part of the console is loaded when one of them is opened first.
import { brought } from "../lib/console_files.js";
import { speakWhole, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Shown } from "./loading.js";
import { Page } from "./page.js";

/** A room with pages: a function that gives the component of a page, by its name in the room or by a
 *  function that picks it. Its `prepare` loads the room; Failure when that cannot be had.
 *  @template {Record<string, any>} Room @param {() => Promise<Room>} load */
export function room(load) {
    /** @type {Room | undefined} */
    let here;
    const prepare = () => brought(async () => {
        [here] = await Promise.all([load(), speakWhole()]);
        return here;
    });

    return (/** @type {(keyof Room & string) | ((room: Room) => any)} */ pick) => {
        /** @type {any} */
        let view;

        /** @param {{title: string}} props */
        function Later({ title }) {
            const loaded = useLoad(prepare, []);
            if (!here) return html`<${Page} title=${t(title)}><${Shown} loaded=${loaded} lines=${10} /><//>`;

            view ??= typeof pick === "string" ? here[pick] : pick(here);
            return html`<${view} />`;
        }
        return Object.assign(Later, { prepare });
    };
}
