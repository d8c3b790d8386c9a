// Shows that a part of the page has a fault, instead of nothing.
import { t } from "../lib/texts.js";
import { Component, html } from "../lib/ui.js";

export class Boundary extends Component {
    /** @param {any} props */
    constructor(props) {
        super(props);
        this.state = { fault: null };
    }

    /** @param {unknown} fault */
    static getDerivedStateFromError(fault) {
        return { fault };
    }

    render() {
        const { fault } = /** @type {any} */ (this.state);
        if (!fault) return this.props.children;

        return html`
            <div class="problem" role="alert">
                <h1>${t("failures/fault_title")}</h1>
                <p>${t("failures/fault", { what: String(fault) })}</p>
                <p><button type="button" onClick=${() => location.reload()}>${t("shell/reload")}</button></p>
            </div>`;
    }
}
