// Finds a page or a setting by its words, and goes there: by Ctrl+K, or by the button of the frame.
import { brought } from "../lib/console_files.js";
import { sentence } from "../lib/failure.js";
import { useKey } from "../lib/keys.js";
import { notify } from "../lib/notices.js";
import { paletteIsOpen } from "../lib/palette_is_open.js";
import { useStore } from "../lib/store.js";
import { speakWhole, t } from "../lib/texts.js";
import { html, useEffect, useState } from "../lib/ui.js";

const close = () => paletteIsOpen.set(false);

export const FindButton = () => html`
    <button type="button" class="find" aria-keyshortcuts="Control+K" onClick=${() => paletteIsOpen.set(true)}>
        ${t("palette/find")} <kbd>Ctrl K</kbd></button>`;

/** The dialog is loaded when it is opened first. */
export function Palette() {
    const isOpen = useStore(paletteIsOpen);
    const [room, setRoom] = useState(/** @type {typeof import("../rooms/finder.js") | null} */ (null));
    useKey("k", () => paletteIsOpen.set(true));
    useEffect(() => close, []);
    useEffect(() => {
        if (isOpen && !room) void load();
    }, [isOpen]);

    async function load() {
        try {
            setRoom(await brought(async () => (await Promise.all([import("../rooms/finder.js"), speakWhole()]))[0]));
        } catch (failure) {
            close();
            notify(sentence(failure), "bad");
        }
    }

    return isOpen && room && html`<${room.Finder} />`;
}
