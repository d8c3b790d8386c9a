// A state as a coloured sign with a word, so that the colour alone tells nothing.
import { html } from "../lib/ui.js";

/** @typedef {"good" | "warning" | "bad" | "quiet" | "info"} Tone */

/** @param {{tone: Tone, text: string}} props */
export const Status = ({ tone, text }) => html`<span class=${`status ${tone}`}>${text}</span>`;
