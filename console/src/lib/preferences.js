// What each user of a browser may choose: colours, and the idle time after which the page is locked.
import { recall, remember } from "./storage.js";
import { Store } from "./store.js";

export const THEMES = ["system", "light", "dark"];
export const IDLE_MINUTES = [5, 15, 30, 60];

export const theme = new Store(recall("theme", "system"));
export const idleMinutes = new Store(Number(recall("idle", "15")) || 15);

function showTheme() {
    const root = document.documentElement;
    if (theme.value === "system") delete root.dataset.theme;
    else root.dataset.theme = theme.value;
}

theme.watch((name) => {
    remember("theme", name);
    showTheme();
});
idleMinutes.watch((minutes) => remember("idle", String(minutes)));
showTheme();
