// What the browser remembers between visits: preferences, never a secret.

const PREFIX = "mailvane.";

/** @param {string} name @param {string} otherwise */
export function recall(name, otherwise) {
    try {
        return localStorage.getItem(PREFIX + name) ?? otherwise;
    } catch {
        return otherwise;  // storage is switched off
    }
}

/** @param {string} name @param {string} value */
export function remember(name, value) {
    try {
        localStorage.setItem(PREFIX + name, value);
    } catch {
        // It holds until the page is closed.
    }
}
