// Changes that are not saved keep the page.
import { confirm } from "./dialogs.js";
import { t } from "./texts.js";
import { useEffect, useRef } from "./ui.js";

/** @type {Set<() => boolean>} */
const guards = new Set();

export const isUnsaved = () => [...guards].some((isDirty) => isDirty());

/** Keeps the page while there are changes.
 *  @param {boolean} dirty */
export function useGuard(dirty) {
    const now = useRef(dirty);
    now.current = dirty;
    useEffect(() => {
        const guard = () => now.current;
        guards.add(guard);
        return () => void guards.delete(guard);
    }, []);
}

/** Asks whether changes are to be given up, where there are any.
 *  @returns {Promise<boolean>} */
export async function mayLeave() {
    return !isUnsaved() || confirm({
        title: t("guard/title"), text: t("guard/text"), action: t("guard/leave"), danger: true,
    });
}

window.addEventListener("beforeunload", (event) => {
    if (isUnsaved()) event.preventDefault();
});
