// Preact as the console uses it: templates by `html`, hooks, and nothing that takes markup as text.
import { Component, Fragment, h, render } from "preact";
import htm from "htm";

export { useCallback, useEffect, useId, useLayoutEffect, useMemo, useRef, useState } from
    "preact/hooks";
export { Component, Fragment, h, render };

/** Elements from a template: html`<p class=${name}>${text}</p>`. Texts stay texts. */
export const html = htm.bind(h);

/** Joins the names of classes that apply.
 *  @param {...(string | false | null | undefined)} names */
export const classes = (...names) => names.filter(Boolean).join(" ");
