// Tables as files that spreadsheets read.

/** What a spreadsheet would take for the beginning of a formula. */
const FORMULA = /^[=+\-@\t\r]/;

/** @param {string} text */
function cell(text) {
    const safe = FORMULA.test(text) ? `'${text}` : text;
    return /[",\n\r]/.test(safe) ? `"${safe.replaceAll('"', '""')}"` : safe;
}

/** One line.
 *  @param {string[]} cells */
export const line = (cells) => `${cells.map(cell).join(",")}\r\n`;
