// Files that the page hands over to the browser.

/** @param {Blob} content @param {string} name */
export function save(content, name) {
    const address = URL.createObjectURL(content);
    const anchor = Object.assign(document.createElement("a"), { href: address, download: name });
    anchor.click();
    setTimeout(() => URL.revokeObjectURL(address), 60_000);
}
