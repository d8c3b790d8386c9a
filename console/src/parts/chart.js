// Bars beside one another for each period, as a drawing with its numbers in a table behind it.
import { number, t } from "../lib/texts.js";
import { html, useEffect, useMemo, useRef, useState } from "../lib/ui.js";

// In pixels: the drawing is as wide as its place, so that its texts keep their size.
const HEIGHT = 200, LEFT = 44, BOTTOM = 22, TOP = 8;
const LABEL = 70;  // room for one label

/** @typedef {{name: string, tone: string, values: number[]}} Series */

/** A round number at or above the largest value, that four lines divide evenly.
 *  @param {number} largest */
export function ceiling(largest) {
    if (largest <= 4) return 4;
    const unit = 10 ** Math.floor(Math.log10(largest / 4));
    return 4 * unit * ([1, 2, 2.5, 5, 10].find((step) => 4 * unit * step >= largest) ?? 10);
}

/** @param {{title: string, unit: string, labels: string[], series: Series[]}} props */
export function Chart({ title, unit, labels, series }) {
    const top = useMemo(() => ceiling(Math.max(0, ...series.flatMap(({ values }) => values))), [series]);
    const drawing = useRef(/** @type {SVGElement | null} */ (null));
    const width = useWidth(drawing);
    return html`
        <figure class="chart">
            <figcaption>
                <ul class="legend">
                    ${series.map(({ name, tone, values }) => html`
                        <li key=${name}><span class=${`swatch ${tone}`}></span>${name}
                            <b>${number(sum(values), { maximumFractionDigits: 1 })}</b></li>`)}
                </ul>
                <span>${unit}</span>
            </figcaption>
            <svg ref=${drawing} role="img" aria-label=${title} class="bars" height=${HEIGHT}>
                <${Grid} top=${top} width=${width} />
                ${labels.map((label, index) => html`
                    <${Period} key=${index} index=${index} label=${label} count=${labels.length} top=${top}
                        series=${series} width=${width} />`)}
            </svg>
            <details>
                <summary>${t("chart/numbers")}</summary>
                <div class="scroll" tabindex="0" role="group" aria-label=${title}>
                    <${Numbers} labels=${labels} series=${series} />
                </div>
            </details>
        </figure>`;
}

/** How wide an element is at present.
 *  @param {{current: Element | null}} element */
function useWidth(element) {
    const [width, setWidth] = useState(720);
    useEffect(() => {
        const watcher = new ResizeObserver(([entry]) => setWidth(Math.round(entry.contentRect.width)));
        if (element.current) watcher.observe(element.current);
        return () => watcher.disconnect();
    }, []);
    return width;
}

/** @param {number[]} values */
const sum = (values) => values.reduce((total, value) => total + value, 0);

/** @param {number} value @param {number} top */
const heightOf = (value, top) => (value / top) * (HEIGHT - TOP - BOTTOM);

/** @param {{top: number, width: number}} props */
const Grid = ({ top, width }) => [0, 1, 2, 3, 4].map((step) => {
    const value = (top * step) / 4;
    const y = HEIGHT - BOTTOM - heightOf(value, top);
    return html`
        <line x1=${LEFT} x2=${width} y1=${y} y2=${y} />
        <text x=${LEFT - 6} y=${y + 4} text-anchor="end">${number(value, { notation: "compact" })}</text>`;
});

/** @param {{index: number, label: string, count: number, top: number, series: Series[],
 *          width: number}} props */
function Period({ index, label, count, top, series, width }) {
    const room = (width - LEFT) / count;
    const start = LEFT + index * room;
    const bar = (room * 0.76) / series.length;
    const every = Math.ceil((count * LABEL) / (width - LEFT));
    return html`
        <g>
            ${series.map(({ tone, values }, place) => html`
                <rect class=${tone} x=${start + room * 0.12 + place * bar} width=${Math.max(bar - 1, 1)}
                    y=${HEIGHT - BOTTOM - heightOf(values[index], top)} height=${heightOf(values[index], top)} />`)}
            ${index % every === 0 && html`
                <text x=${start + room / 2} y=${HEIGHT - 6} text-anchor="middle">${label}</text>`}
        </g>`;
}

/** @param {{labels: string[], series: Series[]}} props */
const Numbers = ({ labels, series }) => html`
    <table class="numbers">
        <thead><tr><th scope="col">${t("chart/period")}</th>
            ${series.map(({ name }) => html`<th scope="col">${name}</th>`)}</tr></thead>
        <tbody>${labels.map((label, index) => html`<tr key=${index}><th scope="row">${label}</th>
            ${series.map(({ values }) => html`<td>${number(values[index])}</td>`)}</tr>`)}</tbody>
    </table>`;
