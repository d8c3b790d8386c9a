import { Store } from "./store.js";

/** Whether the dialog that finds pages and settings is wanted. */
export const paletteIsOpen = new Store(false);
